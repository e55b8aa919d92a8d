// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/freeform/patch.h"
#include "geometry/freeform/shared_places.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace orca::geometry {

/// Vertices along one side of a patch.
struct PatchSide {
    std::vector<double> along;         ///< from 0 to 1, with both ends
    std::vector<std::uint32_t> places; ///< of these vertices
    bool ownLines = true;              ///< they are where the patch's own lines end
};
using PatchBorder = std::array<PatchSide, Patch::sides>;

/// Finds out which sides of patches run along one another, and gives them the vertices of the one that has
/// most, so that no cracks open; all corners and sides that meet get the same places.
/// @param tolerance distance between points that count as the same
[[nodiscard]] std::vector<PatchBorder> matchBorders(std::span<const Patch> patches,
                                                    std::span<const Patch::Lines> lines, float tolerance,
                                                    SharedPlaces& places);

} // namespace orca::geometry
