// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orca::scene {

/// One `registry` block.
struct RegistryEntry {
    /// Fields in order: "value", "link", "mi", "echo", "code", "system", or the scene's own words.
    std::vector<std::pair<std::string, std::string>> fields;
    [[nodiscard]] const std::string* field(std::string_view word) const;
};

/// Registry entries that would never end, or make a text without measure.
class SubstitutionError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What conditionals and file names are resolved with: `set` variables, registry entries, the environment.
class Variables {
public:
    void set(const std::string& name, const std::string& value) { variables_[name] = value; }
    /// Names may be written with or without their braces.
    void setEntry(std::string_view name, RegistryEntry entry);
    [[nodiscard]] const RegistryEntry* entry(std::string_view name) const;

    /// Replaces {NAME} by registry values, recursively, ${NAME} by the environment and ${?NAME} by "1" or
    /// nothing. The first unknown registry name is left in `unknown`; it is replaced by nothing. Throws
    /// SubstitutionError.
    [[nodiscard]] std::string substituted(std::string_view text, std::string* unknown = nullptr) const;

    /// Keys of conditionals: plain names are variables, others are substituted.
    [[nodiscard]] bool isDefined(std::string_view key) const;
    [[nodiscard]] std::string valueOf(std::string_view key) const;

private:
    struct Substitution;
    void substitute(std::string_view text, Substitution& done, int depth) const;

    std::map<std::string, std::string, std::less<>> variables_;
    std::map<std::string, RegistryEntry, std::less<>> registry_;
};

} // namespace orca::scene
