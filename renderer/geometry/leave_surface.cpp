// SPDX-License-Identifier: Apache-2.0
#include "geometry/scene_geometry.h"
#include "geometry/vectors.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace orca::geometry {

namespace {

constexpr float nearOrigin =
    1.0f / 32.0f; // below this, units in the last place get too small to clear anything
constexpr float absoluteStep = 1.0f / 65536.0f; // scene units, used there instead
constexpr float unitsInLastPlace = 256.0f;

float leave(float coordinate, float normal) {
    if (std::abs(coordinate) < nearOrigin) return coordinate + absoluteStep * normal;
    const auto steps = static_cast<std::int32_t>(unitsInLastPlace * normal);
    const auto bits = std::bit_cast<std::int32_t>(coordinate);
    // Bits of negative numbers grow away from zero.
    return std::bit_cast<float>(bits + (coordinate < 0.0f ? -steps : steps));
}

} // namespace

miVector leaveSurface(const miVector& point, const miVector& geometricNormal, const miVector& direction) {
    const float side = dot(geometricNormal, direction) < 0.0f ? -1.0f : 1.0f;
    return {leave(point.x, side * geometricNormal.x), leave(point.y, side * geometricNormal.y),
            leave(point.z, side * geometricNormal.z)};
}

} // namespace orca::geometry
