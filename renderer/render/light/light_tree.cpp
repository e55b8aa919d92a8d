// SPDX-License-Identifier: Apache-2.0
#include "render/light/light_tree.h"

#include "base/vectors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

namespace orca::render {

namespace {

using Kind = LightCluster::Kind;
using Members = std::span<std::uint32_t>;

constexpr std::size_t buckets = 12; // that a split is looked for between
constexpr std::size_t middleDistance = LightFalloff::distances / 2;

float along(const miVector& v, int axis) {
    return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}

/// What choosing among a cluster's lights as if they were one is expected to cost in noise. The extent is the
/// squared diagonal instead of the surface, which is 0 for lamps in a row.
float costOf(const LightCluster& cluster) {
    const miVector extent = cluster.high - cluster.low;
    return cluster.falloff[middleDistance] * cluster.cone.measure() * dot(extent, extent);
}

class Bucket {
public:
    void add(const LightCluster& light) {
        cluster_ = cluster_ ? merged(*cluster_, light) : light;
        ++lights_;
    }
    void add(const Bucket& other) {
        if (!other.cluster_) return;
        cluster_ = cluster_ ? merged(*cluster_, *other.cluster_) : *other.cluster_;
        lights_ += other.lights_;
    }
    [[nodiscard]] std::size_t lights() const { return lights_; }
    [[nodiscard]] float cost() const { return cluster_ ? costOf(*cluster_) : 0.0f; }

private:
    std::optional<LightCluster> cluster_;
    std::size_t lights_ = 0;
};

/// Where along an axis lights are told apart.
struct Split {
    int axis = 0;
    std::size_t below = 0; // first bucket of the second part
    float cost = std::numeric_limits<float>::infinity();
};

class Splitter {
public:
    Splitter(Members members, std::span<const LightCluster> lights) : members_(members), lights_(lights) {
        low_ = high_ = lights[members[0]].centre();
        for (const std::uint32_t member : members) {
            const miVector centre = lights[member].centre();
            low_ = {std::min(low_.x, centre.x), std::min(low_.y, centre.y), std::min(low_.z, centre.z)};
            high_ = {std::max(high_.x, centre.x), std::max(high_.y, centre.y), std::max(high_.z, centre.z)};
        }
    }

    /// Puts the first part to the front. Its size; half of them where they cannot be told apart.
    std::size_t operator()() {
        Split best;
        const miVector extent = high_ - low_;
        const float longest = std::max({extent.x, extent.y, extent.z});
        for (int axis = 0; axis < 3; ++axis)
            if (along(extent, axis) > 0.0f) tryAxis(axis, longest / along(extent, axis), best);
        if (best.below == 0) return members_.size() / 2;
        const auto end = std::partition(members_.begin(), members_.end(), [&](std::uint32_t member) {
            return bucketOf(member, best.axis) < best.below;
        });
        return static_cast<std::size_t>(end - members_.begin());
    }

private:
    [[nodiscard]] std::size_t bucketOf(std::uint32_t member, int axis) const {
        const float place = (along(lights_[member].centre(), axis) - along(low_, axis)) /
                            (along(high_, axis) - along(low_, axis));
        return std::min(static_cast<std::size_t>(place * static_cast<float>(buckets)), buckets - 1);
    }

    /// @param thinness makes cuts across the longest extent cheaper
    void tryAxis(int axis, float thinness, Split& best) const {
        std::array<Bucket, buckets> filled;
        for (const std::uint32_t member : members_) filled[bucketOf(member, axis)].add(lights_[member]);
        std::array<Bucket, buckets> after = filled; // all from each on
        for (std::size_t i = buckets - 1; i > 0; --i) after[i - 1].add(after[i]);
        Bucket before;
        for (std::size_t i = 1; i < buckets; ++i) {
            before.add(filled[i - 1]);
            if (before.lights() == 0 || after[i].lights() == 0) continue;
            const float cost = thinness * (before.cost() + after[i].cost());
            if (cost < best.cost) best = {axis, i, cost};
        }
    }

    Members members_;
    std::span<const LightCluster> lights_;
    miVector low_, high_;
};

} // namespace

LightTree::LightTree(std::span<const LightCluster> lights, float farthest) : farthest_(farthest) {
    nodes_.reserve(2 * lights.size() - 1);
    std::vector<std::uint32_t> members(lights.size());
    std::iota(members.begin(), members.end(), 0u);
    build(members, lights);
}

void LightTree::build(Members members, std::span<const LightCluster> lights) {
    const auto node = static_cast<std::uint32_t>(nodes_.size());
    nodes_.push_back({lights[members[0]], members[0]});
    if (members.size() == 1) return;
    // What has no place is in a part of its own.
    const auto placed = std::stable_partition(members.begin(), members.end(), [&](std::uint32_t member) {
        return lights[member].kind == Kind::Placed;
    });
    auto first = static_cast<std::size_t>(placed - members.begin());
    if (first == 0) first = members.size() / 2;
    else if (first == members.size()) first = Splitter(members, lights)();
    build(members.first(first), lights);
    const auto right = static_cast<std::uint32_t>(nodes_.size());
    build(members.subspan(first), lights);
    nodes_[node].right = right;
    nodes_[node].cluster = merged(nodes_[node + 1].cluster, nodes_[right].cluster);
}

struct LightTree::Walk {
    const LightReceiver& receiver;
    double u;
    ChosenLight* chosen;
    int count;
};

int LightTree::choose(const LightReceiver& receiver, int wanted, float u, ChosenLight* chosen) const {
    Walk state{receiver, static_cast<double>(u), chosen, 0};
    walk(state, 0, 0.0, std::min(static_cast<double>(wanted), static_cast<double>(nodes_[0].cluster.lights)));
    return state.count;
}

/// @param first where the node's share begins
void LightTree::walk(Walk& state, std::uint32_t index, double first, double share) const {
    if (state.u + std::ceil(first - state.u) >= first + share) return; // no point falls on it
    const Node& node = nodes_[index];
    if (node.cluster.lights == 1) {
        state.chosen[state.count++] = {node.right, static_cast<float>(1.0 / share)};
        return;
    }
    const Node &left = nodes_[index + 1], &right = nodes_[node.right];
    const double ofLeft = static_cast<double>(left.cluster.importance(state.receiver, farthest_));
    const double ofRight = static_cast<double>(right.cluster.importance(state.receiver, farthest_));
    const double sum = ofLeft + ofRight, lights = static_cast<double>(left.cluster.lights);
    const double part = sum > 0.0 && std::isfinite(sum) ? ofLeft / sum : lights / node.cluster.lights;
    const double shareOfLeft =
        std::clamp(share * part, share - static_cast<double>(right.cluster.lights), lights);
    walk(state, index + 1, first, shareOfLeft);
    walk(state, node.right, first + shareOfLeft, share - shareOfLeft);
}

} // namespace orca::render
