// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace orca::geometry {

enum class PolygonFault {
    None,
    Degenerate, ///< no area, or a loop with fewer than three points: nothing is cut from it
    NotSimple   ///< crosses itself, or a hole crosses the outline: the triangles do not cover its area
};

/// Cuts a simple polygon with holes into triangles: holes are joined to the outline by bridges (Eberly,
/// "Triangulation by Ear Clipping", 2002), then ears are clipped. Appends corner numbers, counted over all
/// loops in order; the triangles turn as the outline does. `points` holds the corners of the outline and then
/// of every hole, of either winding; `loopSizes` how many each loop has. Slightly non-planar polygons are cut
/// in their projection along the axis in which they are flattest.
PolygonFault triangulate(std::span<const miVector> points, std::span<const std::uint32_t> loopSizes,
                         std::vector<std::array<std::uint32_t, 3>>& triangles);

} // namespace orca::geometry
