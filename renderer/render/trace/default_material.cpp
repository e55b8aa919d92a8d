// SPDX-License-Identifier: Apache-2.0
#include "render/trace/default_material.h"

#include "render/light/light_sampling.h"

namespace orca::render {

miBoolean shadeDefaultMaterial(RenderContext& context, miState* state, miColor& result) {
    constexpr float grey = 0.5f;
    result = {0.0f, 0.0f, 0.0f, 1.0f};
    const geometry::MeshInstance* meshInstance = context.frame.meshInstanceOf(state->instance);
    if (!meshInstance) return miTRUE;
    for (const miTag light : context.frame.geometry.lightsOf(*meshInstance)) {
        miColor color;
        miVector direction;
        miScalar cosine;
        miInteger samples = 0;
        miColor sum{};
        while (sampleLight(color, direction, cosine, state, light, samples, AreaSampling::Full)) {
            if (cosine <= 0.0f) continue;
            sum.r += cosine * color.r;
            sum.g += cosine * color.g;
            sum.b += cosine * color.b;
        }
        if (samples == 0) continue;
        const float scale = grey / static_cast<float>(samples);
        result.r += scale * sum.r;
        result.g += scale * sum.g;
        result.b += scale * sum.b;
    }
    return miTRUE;
}

} // namespace orca::render
