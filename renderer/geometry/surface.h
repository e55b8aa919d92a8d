// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/mesh_instance.h"
#include "geometry/ray.h"
#include "geometry/surface_point.h"

#include <shader.h>

namespace orca::geometry {

/// Interpolates the surface of a mesh instance at a hit; see SceneGeometry::surfaceAt.
/// @param time shutter time at which the ray was traced: 0 where the picture has no motion blur
void interpolateSurface(const MeshInstance& meshInstance, const Hit& hit, float time, SurfacePoint& point,
                        miVector* textureCoordinates);

/// Material of a triangle, after inheritance; never 0. The mesh is the instance's, or will be.
[[nodiscard]] miTag materialOf(const MeshInstance& meshInstance, const Mesh& mesh, std::uint32_t triangle);

} // namespace orca::geometry
