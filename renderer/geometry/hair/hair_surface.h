// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/mesh_instance.h"
#include "geometry/ray.h"
#include "geometry/surface_point.h"

#include <shader.h>

namespace orca::geometry {

/// The surface of a hair at a hit; the mesh of the instance is hairs.
///
/// A ribbon's normal is perpendicular to it and faces the ray, a tube's leads away from its middle line.
/// `bary`: 0: across the hair as the ray sees it, 0 to 1; 1: along it, 0 at the root to 1 at the tip, equal
/// parts for each segment. `dPdu` is the derivative along the hair by `bary[1]`, `dPdv` the one across it by
/// `bary[0]`. Texture coordinates: the hair's own, then the vertices' as the curve blends them.
/// @param time shutter time at which the ray was traced
void hairSurfaceAt(const MeshInstance& meshInstance, const Ray& ray, const Hit& hit, float time,
                   SurfacePoint& point, miVector* textureCoordinates);

} // namespace orca::geometry
