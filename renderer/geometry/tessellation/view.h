// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::geometry {

/// How large surfaces appear in the picture, which decides how finely they are tessellated.
struct TessellationView {
    miMatrix worldToCamera;
    bool orthographic;
    float pixelsPerUnit;         ///< per radian at the picture's centre; orthographic: per scene unit
    float halfWidth, halfHeight; ///< of the view at distance 1; orthographic: scene units
    float nearest;               ///< scene units; closer surfaces count as being at this distance
};

[[nodiscard]] TessellationView viewOf(const miCamera& camera, const miScalar* worldToCamera);

/// Length of an edge in the picture, in pixels. Edges seen end on count a quarter of their length, as the
/// surface may rise between their ends.
/// @param a, b the ends in camera space; exchanging them may change the last bits
[[nodiscard]] float pixelsBetween(const TessellationView& view, const miVector& a, const miVector& b);

/// True when both ends lie beyond one side of the view, with a margin. Camera space.
[[nodiscard]] bool isOutside(const TessellationView& view, const miVector& a, const miVector& b);

/// What only mirrors and shadows show may be coarser by this factor.
constexpr float coarserOutside = 8.0f;

} // namespace orca::geometry
