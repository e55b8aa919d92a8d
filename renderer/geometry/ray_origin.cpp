// SPDX-License-Identifier: Apache-2.0
#include "geometry/ray_origin.h"

#include "base/vectors.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace orca::geometry {

namespace {

/// Scene units; for smaller coordinates, units in the last place are too small to clear anything.
constexpr float nearOrigin = 1.0f / 32.0f;
constexpr float absoluteStep = 1.0f / 65536.0f; // scene units, used there instead
constexpr float unitsInLastPlace = 256.0f;

float movedOff(float coordinate, float normal) {
    if (std::abs(coordinate) < nearOrigin) return coordinate + absoluteStep * normal;
    const auto steps = static_cast<std::int32_t>(unitsInLastPlace * normal);
    const auto bits = std::bit_cast<std::int32_t>(coordinate);
    // Bits of negative numbers grow away from zero.
    return std::bit_cast<float>(bits + (coordinate < 0.0f ? -steps : steps));
}

} // namespace

miVector offsetRayOrigin(const miVector& point, const miVector& geometricNormal, const miVector& direction) {
    const float side = dot(geometricNormal, direction) < 0.0f ? -1.0f : 1.0f;
    return {movedOff(point.x, side * geometricNormal.x), movedOff(point.y, side * geometricNormal.y),
            movedOff(point.z, side * geometricNormal.z)};
}

float distancePastHit(const miVector& origin, float distance) {
    constexpr float unitsOfTheLargest = 1.0f / 131072.0f; // 64 to 128 units in the last place
    const float largest =
        std::max({std::abs(origin.x), std::abs(origin.y), std::abs(origin.z), distance, nearOrigin});
    return distance + unitsOfTheLargest * largest;
}

void advancePastHit(Ray& ray, const Hit& hit) {
    ray.nearDistance = distancePastHit(ray.origin, hit.distance);
    ray.skipInstance = hit.meshInstance;
    ray.skipTriangle = hit.triangle;
}

} // namespace orca::geometry
