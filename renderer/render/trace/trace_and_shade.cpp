// SPDX-License-Identifier: Apache-2.0
#include "render/trace/trace_and_shade.h"

#include "render/light/visible_lights.h"
#include "render/trace/default_material.h"
#include "render/trace/surface_state.h"

#include <cmath>

namespace orca::render {

namespace {

bool isFinite(const miColor& c) {
    return std::isfinite(c.r) && std::isfinite(c.g) && std::isfinite(c.b) && std::isfinite(c.a);
}

/// What the renderer's own buffers take from the first hit of an eye sample.
void notePrimaryHit(RenderContext& context, const miState& state, miTag shader) {
    miVector inCamera;
    mi_point_transform(&inCamera, &state.point, context.camera.fromWorld);
    context.primary = {true, -inCamera.z, state.normal, state.motion, state.label, shader};
}

miBoolean shadeHit(RenderContext& context, miState* state, miColor& result) {
    const miMaterial* material = context.frame.materialOf(state->material);
    state->refraction_volume = material ? material->volume : miNULLTAG;
    if (material && material->environment != miNULLTAG) state->environment = material->environment;
    if (state->type == miRAY_EYE && context.inEyeSample && !context.primary.hit)
        notePrimaryHit(context, *state, material ? material->shader : miNULLTAG);

    ++context.counts.materialCalls;
    if (!material || material->shader == miNULLTAG) return shadeDefaultMaterial(context, state, result);
    const miBoolean delivered = context.runtime.call(&result, miSHADER_MATERIAL, state, material->shader);
    if (!isFinite(result)) {
        context.runtime.countFault(material->shader, shading::ShaderRuntime::Fault::NotANumber);
        result = {};
    }
    return delivered;
}

} // namespace

miBoolean callEnvironment(RenderContext& context, miState* state, miColor& result) {
    const miTag environment =
        state->environment != miNULLTAG ? state->environment : context.frame.camera.environment;
    if (environment == miNULLTAG) return miFALSE;
    ++context.counts.environment;
    return context.runtime.call(&result, miSHADER_ENVIRONMENT, state, environment);
}

void callVolume(RenderContext& context, miState* state, miColor& result, miBoolean& delivered) {
    if (state->volume == miNULLTAG || context.frame.options.no_volume) return;
    delivered = context.runtime.call(&result, miSHADER_VOLUME, state, state->volume);
}

miBoolean traceAndShade(RenderContext& context, ChildState& child, const geometry::Ray& ray,
                        miColor& result) {
    result = {};
    miState* state = child.get();
    geometry::Hit hit;
    LightHit light;
    miBoolean delivered;
    const bool meets = context.frame.geometry.intersect(ray, hit);
    if (findVisibleLight(context.frame, ray, meets ? hit.distance : ray.farDistance, light)) {
        delivered = shadeVisibleLight(context, child.derived(), light, result);
    } else if (meets) {
        setHit(context, child.derived(), ray, hit, NormalSide::TowardRay);
        delivered = shadeHit(context, state, result);
    } else {
        setMiss(*state);
        delivered = callEnvironment(context, state, result);
    }
    callVolume(context, state, result, delivered);
    if (!delivered) result = {};
    return delivered;
}

} // namespace orca::render
