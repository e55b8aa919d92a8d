// SPDX-License-Identifier: Apache-2.0
#include "render/trace/default_material.h"

#include "render/light/light_lists.h"
#include "render/light/light_sampling.h"
#include "shading/call_scope.h"

#include <cstddef>
#include <span>

namespace orca::render {

miBoolean shadeDefaultMaterial(RenderContext& context, miState* state, miColor& result) {
    constexpr float grey = 0.5f;
    result = {0.0f, 0.0f, 0.0f, 1.0f};
    if (!context.frame.meshInstanceOf(state->instance)) return miTRUE;
    const shading::CallScope scope(state, context);
    int count = 0;
    miTag* lights = nullptr;
    instanceLights(count, lights, state);
    for (const miTag light : std::span(lights, static_cast<std::size_t>(count))) {
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
