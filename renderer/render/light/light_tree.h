// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/light/light_cluster.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace orca::render {

/// One of the lights chosen.
struct ChosenLight {
    std::uint32_t light;
    float weight; ///< 1 / probability of being among those chosen
};

/// A tree of clusters of lights, from which some are chosen for a point in a time that grows with the
/// logarithm of their number (A. Conty Estevez and C. Kulla, "Importance Sampling of Many Lights with
/// Adaptive Tree Splitting", 2018; built by their surface area orientation heuristic).
///
/// A choice of n lights is a systematic sample (W. G. Madow, "On the Theory of Systematic Sampling, II",
/// 1949): each cluster is given its share of n by importance, at most as many as it has lights, down to the
/// single light, whose share is the probability of being chosen. The shares lie on a line one after the
/// other, and the lights are chosen on which the points u, u + 1, ... u + n - 1 fall. So no light is chosen
/// twice, and strong ones, whose share is 1, always.
class LightTree {
public:
    /// @param lights clusters of single lights, at least one; their falloffs above 0
    /// @param farthest that the falloffs are of, scene units
    LightTree(std::span<const LightCluster> lights, float farthest);

    /// @param wanted number of lights to choose, at least 1
    /// @param u in [0, 1)
    /// @param chosen room for `wanted` + 1
    /// @returns how many were chosen
    int choose(const LightReceiver& receiver, int wanted, float u, ChosenLight* chosen) const;

private:
    struct Node {
        LightCluster cluster;
        std::uint32_t right; // its second child, the first follows it; of a single light: which one
    };
    struct Walk;

    void build(std::span<std::uint32_t> members, std::span<const LightCluster> lights);
    void walk(Walk& walk, std::uint32_t node, double first, double share) const;

    std::vector<Node> nodes_;
    float farthest_;
};

} // namespace orca::render
