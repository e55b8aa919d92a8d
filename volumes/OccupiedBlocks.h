// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace orca::volumes {

/// Which blocks of a box of voxels are not empty, to pass over those that are.
class OccupiedBlocks {
public:
    /// @param low, high voxels of the box's corners, both in it
    OccupiedBlocks(const std::array<int, 3>& low, const std::array<int, 3>& high);

    /// The voxels of a box are not empty; what is outside is ignored.
    void occupy(const std::array<int, 3>& low, const std::array<int, 3>& high);

    /// The first span of a ray, in units of its direction, through neighbouring blocks that are occupied and
    /// that ends after `after`. False: there is none. (J. Amanatides and A. Woo, "A Fast Voxel Traversal
    /// Algorithm for Ray Tracing", 1987.)
    /// @param origin, direction in voxels
    [[nodiscard]] bool next(const std::array<double, 3>& origin, const std::array<double, 3>& direction,
                            double after, float& from, float& to) const;

private:
    [[nodiscard]] bool occupied(const std::array<int, 3>& block) const { return blocks_[index(block)] != 0; }
    [[nodiscard]] std::size_t index(const std::array<int, 3>& block) const {
        return (static_cast<std::size_t>(block[2]) * static_cast<std::size_t>(count_[1]) +
                static_cast<std::size_t>(block[1])) *
                   static_cast<std::size_t>(count_[0]) +
               static_cast<std::size_t>(block[0]);
    }

    std::array<int, 3> low_, count_{};
    int edge_; ///< voxels along a block
    std::vector<std::uint8_t> blocks_;
};

} // namespace orca::volumes
