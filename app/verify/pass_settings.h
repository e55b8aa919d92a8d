// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "verify/picture_view.h"

#include <compare>
#include <optional>
#include <set>
#include <string>

namespace orca::app {

/// Trace levels that a pass takes, ends included.
struct LevelRange {
    int least, most;
    friend auto operator<=>(const LevelRange&, const LevelRange&) = default;
};

/// Instances that take part in a pass.
struct Members {
    bool isAll = false;
    std::optional<std::set<std::string>> names; ///< nothing where they are not all known
    friend bool operator==(const Members&, const Members&) = default;
};

/// Settings of a layer that materials write.
struct PassSettings {
    std::string type; ///< "diffuse"
    std::set<std::string> flags;
    LevelRange reflection, refraction;
    Members lights, objects;
    std::string subtracts; ///< layer that has been taken from it; empty: none

    /// Both levels are those of what the camera sees directly.
    [[nodiscard]] bool isDirect() const;
    [[nodiscard]] bool has(const char* flag) const { return flags.contains(flag); }
};

/// Names in quotes, as metadata has them. Nothing where the list is cut short.
[[nodiscard]] std::optional<std::set<std::string>> namesIn(const std::string& text);

/// Nothing for a layer that materials do not write.
/// @param all instances of the scene's lights and objects, where they are known
[[nodiscard]] std::optional<PassSettings> settingsOf(const LayerView& layer,
                                                     const std::optional<std::set<std::string>>& allLights,
                                                     const std::optional<std::set<std::string>>& allObjects);

} // namespace orca::app
