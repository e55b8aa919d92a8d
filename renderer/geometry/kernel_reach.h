// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/mesh.h"
#include "geometry/mesh_instance.h"

#include <string>

namespace orca::geometry {

/// The ray-tracing kernel takes coordinates and directions up to 1.84e18, of rays and bounds, in world space
/// and in the spaces of objects; anything beyond ends the process. This leaves room for rounding.
inline constexpr float kernelReach = 1e18f;

/// How far rays may start from the world's origin, and how long their directions may be, along each axis.
struct RayReach {
    float origin = kernelReach, direction = kernelReach;
};

/// Largest absolute coordinate of the mesh's vertices over the shutter, in the space of its points.
/// Not-a-numbers do not count.
[[nodiscard]] float extentOf(const Mesh& mesh);

/// Why the kernel cannot take an instance of a mesh of that extent; empty when it can. Limits `rays` to those
/// that stay within reach in the object's space.
[[nodiscard]] std::string whyOutOfReach(const MeshInstance& meshInstance, float extent, bool traceMotion,
                                        RayReach& rays);

} // namespace orca::geometry
