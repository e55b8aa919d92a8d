// SPDX-License-Identifier: Apache-2.0
#include "OccupiedBlocks.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orca::volumes {

namespace {

constexpr int leafEdge = 8;       // voxels: what the files' own tree keeps together
constexpr int mostAlongEdge = 96; // blocks of the longest side; more of them are no faster to walk

} // namespace

OccupiedBlocks::OccupiedBlocks(const std::array<int, 3>& low, const std::array<int, 3>& high) : low_(low) {
    int longest = 1;
    for (std::size_t i = 0; i < 3; ++i) longest = std::max(longest, high[i] - low[i] + 1);
    edge_ = std::max(leafEdge, (longest + mostAlongEdge - 1) / mostAlongEdge);
    std::size_t all = 1;
    for (std::size_t i = 0; i < 3; ++i) {
        count_[i] = std::max(1, (high[i] - low[i] + edge_) / edge_);
        all *= static_cast<std::size_t>(count_[i]);
    }
    blocks_.assign(all, 0);
}

void OccupiedBlocks::occupy(const std::array<int, 3>& low, const std::array<int, 3>& high) {
    std::array<int, 3> first{}, last{};
    for (std::size_t i = 0; i < 3; ++i) {
        first[i] = std::max(0, (low[i] - low_[i]) / edge_);
        last[i] = std::min(count_[i] - 1, (high[i] - low_[i]) / edge_);
        if (high[i] < low_[i]) return;
    }
    for (int z = first[2]; z <= last[2]; ++z)
        for (int y = first[1]; y <= last[1]; ++y)
            for (int x = first[0]; x <= last[0]; ++x) blocks_[index({x, y, z})] = 1;
}

bool OccupiedBlocks::next(const std::array<double, 3>& origin, const std::array<double, 3>& direction,
                          double after, float& from, float& to) const {
    constexpr double never = std::numeric_limits<double>::infinity();
    std::array<double, 3> start{}, crossing{}, width{};
    double enter = std::max(0.0, after), leave = never;
    for (std::size_t i = 0; i < 3; ++i) { // in blocks
        start[i] = (origin[i] - low_[i]) / edge_;
        const double d = direction[i] / edge_, end = count_[i];
        if (d == 0.0) {
            if (start[i] < 0.0 || start[i] >= end) return false;
            width[i] = crossing[i] = never;
            continue;
        }
        const double a = -start[i] / d, b = (end - start[i]) / d;
        enter = std::max(enter, std::min(a, b));
        leave = std::min(leave, std::max(a, b));
        width[i] = std::abs(1.0 / d);
    }
    if (!(enter < leave)) return false;
    std::array<int, 3> block{}, step{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double d = direction[i] / edge_, place = start[i] + (d == 0.0 ? 0.0 : enter * d);
        block[i] = std::clamp(static_cast<int>(std::floor(place)), 0, count_[i] - 1);
        step[i] = d > 0.0 ? 1 : -1;
        if (d != 0.0) crossing[i] = (block[i] + (d > 0.0 ? 1 : 0) - start[i]) / d;
    }
    bool found = false;
    for (double at = enter; at < leave;) {
        const auto nearest =
            static_cast<std::size_t>(std::min_element(crossing.begin(), crossing.end()) - crossing.begin());
        const double end = std::min(crossing[nearest], leave);
        if (occupied(block) && static_cast<float>(end) > static_cast<float>(after)) {
            if (!found) from = static_cast<float>(at);
            found = true;
            to = static_cast<float>(end);
        } else if (found) return true;
        at = std::max(at, end);
        block[nearest] += step[nearest];
        if (block[nearest] < 0 || block[nearest] >= count_[nearest]) break;
        crossing[nearest] += width[nearest];
    }
    return found;
}

} // namespace orca::volumes
