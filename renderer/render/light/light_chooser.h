// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"
#include "render/light/light_tree.h"
#include "shading/light_choice.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace orca::render {

/// Chooses a few of many lights for each point that is shaded. Samples of the lights chosen are weighted, so
/// that sums over them are right on average.
class LightChooser {
public:
    /// @param clusters of the lights, in their order, their falloffs above 0
    /// @param farthest that the falloffs are of, scene units
    /// @param wanted lights at each point, at least 1
    LightChooser(const geometry::SceneGeometry& geometry, const LightInstances& lights,
                 std::vector<LightCluster> clusters, float farthest, int wanted);

    /// Of the lights of a list of the scene's geometry (see MeshInstance::lightList). Null: of all. The same
    /// again when it is asked for the same list and point while a shader runs. It lasts until that returns.
    const shading::LightChoice* ofList(RenderContext& context, const miState& state,
                                       std::uint32_t number) const;
    /// Of the lights that a shader lists, likewise but never the same again. Takes a time that grows with
    /// their number.
    const shading::LightChoice* ofListed(RenderContext& context, const miState& state,
                                         std::span<const miTag> listed) const;

private:
    /// The lights of one list; no tree where all of them are sampled anyway.
    struct List {
        std::vector<miTag> lights;
        std::unique_ptr<LightTree> tree;
    };
    [[nodiscard]] LightReceiver receiverAt(const RenderContext& context, const miState& state) const;
    [[nodiscard]] const LightCluster& clusterOf(miTag light) const;

    const LightInstances& lights_;
    std::vector<LightCluster> clusters_;
    std::vector<List> lists_; // by their numbers
    float farthest_;
    int wanted_;
};

/// What samples of a light are multiplied by for the list that the running shader has asked for: 1 for lights
/// that are not of it.
[[nodiscard]] float lightWeight(const RenderContext& context, miTag light);

/// The choice that the running shader's light list is; null where the list is whole.
[[nodiscard]] const shading::LightChoice* currentChoice(const RenderContext& context);

/// From now on the lists of the running shader, and of those that it calls on the same state, are whole.
void wantWholeLists(RenderContext& context);
/// Whether they are.
[[nodiscard]] bool wantsWholeLists(const RenderContext& context);

} // namespace orca::render
