// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/flattened_scene.h"
#include "scene/elements/elements.h"

#include <shader.h>

#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace orca::geometry {

/// Which lights illuminate a mesh instance, and for which lights it casts shadows. Instances with the same
/// list share one set.
class LightSets {
public:
    explicit LightSets(const FlattenedScene& graph) : graph_(graph), lists_{graph.lights} {
        for (std::uint32_t i = 0; i < graph.lights.size(); ++i) indexOf_[graph.lights[i]] = i;
    }

    /// Number of the set of an instance's links; 0 is "all lights". Null links: 0.
    [[nodiscard]] std::uint32_t listFor(const scene::LightLinks* links);
    [[nodiscard]] std::uint32_t shadowSetFor(const scene::LightLinks* links);
    /// Call when all sets are made: prepares the constant-time look-up.
    void finish();

    [[nodiscard]] std::span<const miTag> list(std::uint32_t number) const { return lists_[number]; }
    /// True for tags that are no light below the root.
    [[nodiscard]] bool castsShadow(std::uint32_t shadowSet, miTag light) const {
        if (shadowSet == 0 || light >= tagToIndex_.size()) return true;
        const std::uint32_t index = tagToIndex_[light];
        return index == noLight || shadowSets_[shadowSet - 1][index];
    }

private:
    static constexpr std::uint32_t noLight = ~0u;
    const FlattenedScene& graph_;
    std::vector<std::vector<miTag>> lists_;
    std::vector<std::vector<char>> shadowSets_; // by light index: casts
    std::map<const scene::LightLinks*, std::uint32_t> listNumbers_, shadowNumbers_;
    std::map<miTag, std::uint32_t> indexOf_;
    std::vector<std::uint32_t> tagToIndex_;
};

} // namespace orca::geometry
