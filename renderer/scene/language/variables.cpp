// SPDX-License-Identifier: Apache-2.0
#include "scene/language/variables.h"

#include <fmt/format.h>

#include <cstdlib>
#include <utility>

namespace orca::scene {

namespace {

std::string_view withoutBraces(std::string_view name) {
    const bool braced = name.size() >= 2 && name.front() == '{' && name.back() == '}';
    return braced ? name.substr(1, name.size() - 2) : name;
}

} // namespace

const std::string* RegistryEntry::field(std::string_view word) const {
    for (const auto& [key, value] : fields) {
        if (key == word) return &value;
    }
    return nullptr;
}

void Variables::setEntry(std::string_view name, RegistryEntry entry) {
    registry_[std::string(withoutBraces(name))] = std::move(entry);
}

const RegistryEntry* Variables::entry(std::string_view name) const {
    const auto found = registry_.find(withoutBraces(name));
    return found == registry_.end() ? nullptr : &found->second;
}

/// One text on its way through the registry.
struct Variables::Substitution {
    std::string result;
    std::string unknown; // the first entry that is not defined
    int replacements = 0;
};

void Variables::substitute(std::string_view text, Substitution& done, int depth) const {
    constexpr int deepest = 32;
    constexpr int most = 10000;
    constexpr std::size_t longest = 1 << 16;
    for (std::size_t i = 0; i < text.size();) {
        if (done.result.size() > longest)
            throw SubstitutionError(
                fmt::format("registry entries make more than {} characters of it", longest));
        const bool fromEnvironment = text[i] == '$' && i + 1 < text.size() && text[i + 1] == '{';
        if (!fromEnvironment && text[i] != '{') {
            done.result += text[i++];
            continue;
        }
        const std::size_t open = fromEnvironment ? i + 1 : i;
        const std::size_t close = text.find('}', open);
        if (close == std::string_view::npos) {
            done.result += text.substr(i);
            return;
        }
        std::string name(text.substr(open + 1, close - open - 1));
        i = close + 1;
        if (fromEnvironment) {
            const bool onlyAsks = !name.empty() && name[0] == '?';
            const char* value = std::getenv(onlyAsks ? name.c_str() + 1 : name.c_str());
            if (value) done.result += onlyAsks ? "1" : value;
            continue;
        }
        const RegistryEntry* found = entry(name);
        const std::string* value = found ? found->field("value") : nullptr;
        if (value) {
            if (depth == deepest)
                throw SubstitutionError(
                    fmt::format("registry entries name each other more than {} deep, \"{{{}}}\" the last",
                                deepest, name));
            if (++done.replacements > most)
                throw SubstitutionError(
                    fmt::format("it takes more than {} registry entries, \"{{{}}}\" the last", most, name));
            substitute(*value, done, depth + 1);
        } else if (done.unknown.empty()) {
            done.unknown = name;
        }
    }
}

std::string Variables::substituted(std::string_view text, std::string* unknown) const {
    Substitution done;
    substitute(text, done, 0);
    if (unknown) *unknown = done.unknown;
    return std::move(done.result);
}

bool Variables::isDefined(std::string_view key) const {
    if (key.find('{') != std::string_view::npos) return !substituted(key).empty();
    return variables_.find(key) != variables_.end();
}

std::string Variables::valueOf(std::string_view key) const {
    if (key.find('{') != std::string_view::npos) return substituted(key);
    const auto found = variables_.find(key);
    return found == variables_.end() ? std::string() : found->second;
}

} // namespace orca::scene
