// SPDX-License-Identifier: Apache-2.0
#include "verify/pass_settings.h"

#include <sstream>

namespace orca::app {

namespace {

std::string textOf(const MetadataTexts& metadata, const char* key) {
    const auto found = metadata.find(key);
    return found == metadata.end() ? std::string() : found->second;
}

LevelRange levelsIn(const std::string& text) {
    LevelRange levels{0, 0};
    std::istringstream(text) >> levels.least >> levels.most;
    return levels;
}

/// "all", "none", a list, or "all but" and a list.
Members membersIn(const std::string& text, const std::optional<std::set<std::string>>& all) {
    if (text == "all") return {true, all};
    if (text == "none") return {false, std::set<std::string>()};
    std::optional<std::set<std::string>> named = namesIn(text);
    if (!text.starts_with("all but") || !named) return {false, named};
    if (!all) return {};
    std::set<std::string> rest = *all;
    for (const std::string& name : *named) rest.erase(name);
    return {false, rest};
}

} // namespace

bool PassSettings::isDirect() const {
    constexpr LevelRange direct{0, 0};
    return reflection == direct && refraction == direct;
}

std::optional<std::set<std::string>> namesIn(const std::string& text) {
    std::set<std::string> names;
    std::size_t end = 0;
    for (std::size_t begin; (begin = text.find('"', end)) != std::string::npos; ++end) {
        end = text.find('"', begin + 1);
        if (end == std::string::npos) return {};
        names.insert(text.substr(begin + 1, end - begin - 1));
    }
    if (text.find(" more", end) != std::string::npos) return {};
    return names;
}

std::optional<PassSettings> settingsOf(const LayerView& layer,
                                       const std::optional<std::set<std::string>>& allLights,
                                       const std::optional<std::set<std::string>>& allObjects) {
    const std::string type = textOf(layer.metadata, "passType");
    const std::size_t space = type.find(' ');
    if (space == std::string::npos) return {};
    PassSettings settings;
    settings.type = type.substr(space + 1);
    std::istringstream flags(textOf(layer.metadata, "passFlags"));
    for (std::string flag; flags >> flag;) settings.flags.insert(flag);
    settings.reflection = levelsIn(textOf(layer.metadata, "reflectionLevels"));
    settings.refraction = levelsIn(textOf(layer.metadata, "refractionLevels"));
    settings.lights = membersIn(textOf(layer.metadata, "passLights"), allLights);
    settings.objects = membersIn(textOf(layer.metadata, "passObjects"), allObjects);
    settings.subtracts = textOf(layer.metadata, "passSubtracts");
    return settings;
}

} // namespace orca::app
