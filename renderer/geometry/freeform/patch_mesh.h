// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/freeform/patch.h"
#include "geometry/freeform/patch_borders.h"
#include "geometry/freeform/trim_loops.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace orca::geometry {

/// Triangles in the parameter plane of a patch.
struct PatchMesh {
    std::vector<std::array<double, 2>> points;
    std::vector<std::uint32_t> places; ///< of these points; `SharedPlaces::none`: of this patch alone
    std::vector<std::array<std::uint32_t, 3>> triangles;
};

/// Cuts a patch along its lines and borders; what its loops cut away is left out. Throws std::runtime_error
/// when loops cross.
[[nodiscard]] PatchMesh meshOf(const Patch& patch, const Patch::Lines& lines, const PatchBorder& border,
                               std::span<const TrimLoop> loops);

} // namespace orca::geometry
