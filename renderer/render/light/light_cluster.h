// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/light/light_cone.h"
#include "render/light/light_falloff.h"

#include <shader.h>

#include <cstdint>

namespace orca::render {

/// Where light arrives that lights are chosen for.
struct LightReceiver {
    miVector point;
    miVector normal;      ///< of the surface, unit; null: no surface
    miVector towardStart; ///< unit, along a ray through a volume that ends at the point; null: no ray
    float length;         ///< of that ray, scene units
};

/// A light or several as seen from afar: where they are, how strong, and in which directions they shine.
struct LightCluster {
    /// Lights without a place are as strong everywhere; so is what is mixed with them.
    enum class Kind { Placed, Directed, Everywhere };

    Kind kind;
    miVector low, high;   ///< bounds of their places
    LightCone cone;       ///< directed: the axis is the direction of the light
    LightFalloff falloff; ///< everywhere and directed: its first entry alone
    std::uint32_t lights = 1;

    [[nodiscard]] miVector centre() const;
    /// Estimated share of the light that arrives; of any unit. Above 0 where `falloff` is: lights may
    /// illuminate surfaces from behind and in directions in which they were not seen to shine.
    /// @param farthest that the falloff is of, scene units
    [[nodiscard]] float importance(const LightReceiver& receiver, float farthest) const;
};

/// Both together.
[[nodiscard]] LightCluster merged(const LightCluster& a, const LightCluster& b);

} // namespace orca::render
