// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstdint>
#include <limits>

namespace orca::geometry {

/// Why a ray is cast: decides which mesh instances it can meet.
enum class RayClass : std::uint8_t { Eye, Transparent, Reflect, Refract, Shadow, Gather };
inline constexpr int rayClassCount = 6;

inline constexpr std::uint32_t nothing = 0xFFFFFFFFu;

/// Times outside the shutter, not-a-numbers included, are taken as its ends.
[[nodiscard]] inline float shutterTime(float time) {
    return time > 0.0f ? (time < 1.0f ? time : 1.0f) : 0.0f;
}

struct Ray {
    miVector origin;           ///< internal space
    miVector direction;        ///< unit, unless `farDistance` is measured in multiples of it
    float nearDistance = 0.0f; ///< not below 0
    float farDistance = std::numeric_limits<float>::infinity();
    float time = 0.0f; ///< 0 to 1 over the unit shutter
    RayClass rayClass = RayClass::Eye;
    std::uint32_t skipInstance = nothing; ///< what the ray starts on is not hit again: a triangle, or a
                                          ///< segment of a hair with its neighbours
    std::uint32_t skipTriangle = nothing;
};

/// Where a ray met a mesh instance.
struct Hit {
    float distance;
    float u, v; ///< weights of the triangle's second and third vertex; along a hair's segment, and across
    std::uint32_t meshInstance; ///< index into SceneGeometry::meshInstances()
    std::uint32_t triangle;     ///< index into the mesh of that instance, of a hair's segment as well
};

} // namespace orca::geometry
