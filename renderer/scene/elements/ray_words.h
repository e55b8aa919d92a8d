// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/instance_element.h"

#include <string_view>

namespace orca::scene {

/// A word by which objects and instances say which rays see them and which they send: a switch, a mode
/// (InstanceFlags) or both, and where it is kept.
struct RayWord {
    std::string_view word;
    miCBoolean miObject::*objectSwitch;
    miCBoolean miObject::*objectMode;
    std::optional<bool> InstanceFlags::*instanceSwitch;
    std::optional<int> InstanceFlags::*instanceMode;
    bool hasMode;             ///< an integer may follow
    std::string_view missing; ///< why it has no effect; empty: it has one
};

inline constexpr std::string_view noPhotons = "no photons are traced";

/// All such words. Null: the element keeps nothing.
inline constexpr RayWord rayWords[] = {
    {"visible", &miObject::visible, nullptr, &InstanceFlags::visible, nullptr, false, {}},
    {"trace", &miObject::trace, nullptr, &InstanceFlags::trace, nullptr, false, {}},
    {"shadow",
     &miObject::shadow,
     &miObject::shadow_mode,
     &InstanceFlags::shadow,
     &InstanceFlags::shadowMode,
     true,
     {}},
    {"reflection", nullptr, &miObject::reflection, nullptr, &InstanceFlags::reflection, true, {}},
    {"refraction", nullptr, &miObject::refraction, nullptr, &InstanceFlags::refraction, true, {}},
    {"transparency", nullptr, &miObject::transparency, nullptr, &InstanceFlags::transparency, true, {}},
    {"finalgather", nullptr, &miObject::finalgather, nullptr, &InstanceFlags::finalgather, true, {}},
    {"shadowmap", nullptr, nullptr, nullptr, nullptr, true, "shadow maps hold what casts ray-traced shadows"},
    {"caustic", nullptr, nullptr, nullptr, nullptr, true, noPhotons},
    {"globillum", nullptr, nullptr, nullptr, nullptr, true, noPhotons},
    {"select", nullptr, nullptr, nullptr, nullptr, true, "nothing is selected by it"}};

} // namespace orca::scene
