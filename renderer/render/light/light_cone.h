// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::render {

/// Directions in which a light, or several, shine: as strong within `spread` of the axis, then falling as the
/// cosine of the angle beyond it, and nothing from `falloff` beyond it on. Radians.
struct LightCone {
    /// @param axis unit; any where spread is pi
    /// @param spread 0 to pi
    /// @param falloff 0 to pi / 2
    LightCone(const miVector& axis, float spread, float falloff);
    [[nodiscard]] static LightCone everyDirection();

    miVector axis;
    float spread, falloff;
    float cosineOfSpread, sineOfSpread, cosineOfFalloff;

    /// The solid angle of the cone, weighted by that cosine.
    [[nodiscard]] float measure() const;
};

/// The smallest cone that holds both.
[[nodiscard]] LightCone merged(const LightCone& a, const LightCone& b);

} // namespace orca::render
