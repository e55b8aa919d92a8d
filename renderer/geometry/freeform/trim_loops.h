// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/freeform/patch.h"
#include "geometry/freeform/shared_places.h"

#include "scene/elements/object_element.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace orca::geometry {

/// Vertices along one part of a trimming loop.
struct TrimPart {
    std::vector<double> along;         ///< from 0 to 1 between the ends of the part, with both
    std::vector<std::uint32_t> places; ///< of these vertices; empty: of this patch alone
};

/// A closed line in a patch's parameter plane, which is not closed where only vertices are asked for.
struct TrimLoop {
    using Point = std::array<double, 2>;
    scene::FreeformSurface::Loop::Kind kind;
    std::vector<Point> points;
    std::vector<std::uint32_t> places; ///< of these points; `SharedPlaces::none`: of this patch alone
};

/// The vertices along the parts of a loop, before surfaces are connected: as finely as is asked for, and no
/// further apart than the lines of the patch.
[[nodiscard]] std::vector<TrimPart> trimParts(const Patch& patch, const scene::FreeformSurface::Loop& loop,
                                              std::span<const scene::SplineCurve> curves,
                                              const Refinement& refinement, const Patch::Lines& lines);

/// Makes one line of a loop's parts. Throws std::runtime_error when it is open, leaves the surface or
/// encloses nothing.
[[nodiscard]] TrimLoop joinParts(const Patch& patch, const scene::FreeformSurface::Loop& loop,
                                 std::span<const scene::SplineCurve> curves, std::span<const TrimPart> parts,
                                 SharedPlaces& places);

/// Whether a point of the parameter plane belongs to the trimmed surface. The innermost loop around it
/// decides; outside of all, only surfaces without trims from outside have anything.
[[nodiscard]] bool isKept(std::span<const TrimLoop> loops, const TrimLoop::Point& point);

} // namespace orca::geometry
