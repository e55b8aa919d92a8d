// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/mesh_instance.h"

#include <cstdint>

namespace orca::geometry {

/// What the corners of a triangle have; the letters of `mi_tri_vectors`.
enum class CornerVector : char {
    Point = 'p',
    Normal = 'n',
    Motion = 'm', ///< over the unit shutter
    Texture = 't',
    DerivativeU = 'd',
    DerivativeV = 'e',
    BumpX = 'x',
    BumpY = 'y'
};

/// Vectors at the corners when the shutter opens, object space; normals unit.
/// @param space of texture coordinates
/// False, and `corners` untouched, where the mesh has none, and for a letter of nothing.
[[nodiscard]] bool triangleVectors(const MeshInstance& meshInstance, std::uint32_t triangle,
                                   CornerVector which, int space, miVector (&corners)[3]);

} // namespace orca::geometry
