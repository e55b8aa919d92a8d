// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"
#include "render/light/light_cluster.h"

#include <vector>

namespace orca::render {

/// Finds out what lights send where by calling their shaders at points around them, as if nothing were in
/// between: how a light is described is its shader's own affair.
class LightProbe {
public:
    /// Opens a base state.
    /// @param farthest distance that falloffs are measured up to, scene units
    LightProbe(const Frame& frame, float farthest);
    ~LightProbe();
    LightProbe(const LightProbe&) = delete;
    LightProbe& operator=(const LightProbe&) = delete;

    /// Its falloff is 0 throughout where no light was found.
    [[nodiscard]] LightCluster measure(const LightInstance& light);

private:
    struct Answer {
        float strength;  // largest channel, mean of some samples
        miVector toward; // unit, to the light
        bool isFromAfar; // from infinity
    };
    /// At a point with a normal.
    Answer ask(const LightInstance& light, const miVector& point, const miVector& normal);
    /// At a distance from the light's centre in a direction.
    float strengthAt(const LightInstance& light, const miVector& centre, const miVector& direction,
                     float distance);
    LightCluster measureFromAfar(const LightInstance& light);
    LightCone measureCone(const LightInstance& light, const miVector& centre, float distance);

    RenderContext context_;
    float farthest_;
};

/// All lights of a frame, in the order of its `lights`. Those that no light was found of count a little, as
/// they may shine where they were not looked for: a choice must not leave them out.
[[nodiscard]] std::vector<LightCluster> measureLights(const Frame& frame, float farthest);

} // namespace orca::render
