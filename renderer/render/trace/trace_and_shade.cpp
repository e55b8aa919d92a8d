// SPDX-License-Identifier: Apache-2.0
#include "render/trace/trace_and_shade.h"

#include "render/context/hit_observer.h"
#include "render/context/seen_surfaces.h"
#include "render/context/surface_state.h"
#include "render/context/surroundings.h"
#include "render/light/visible_lights.h"
#include "render/trace/default_material.h"
#include "render/trace/media.h"

#include <cmath>

namespace orca::render {

namespace {

bool isFinite(const miColor& c) {
    return std::isfinite(c.r) && std::isfinite(c.g) && std::isfinite(c.b) && std::isfinite(c.a);
}

/// Along the view axis, scene units.
float depthOf(const RenderContext& context, const miVector& point) {
    miVector inCamera;
    mi_point_transform(&inCamera, &point, context.camera.fromWorld);
    return -inCamera.z;
}

/// Keeps what the built-in buffers store of an eye sample's first hit.
void recordPrimaryHit(RenderContext& context, const miState& state, miTag shader) {
    context.primary = {true,         depthOf(context, state.point), state.normal,
                       state.motion, context.frame.labelOf(state),  shader};
}

/// The surface, light or background at the end of a ray, its share left open.
SeenSurface seenAt(const RenderContext& context, const miState& state) {
    const bool isPoint = state.hit_instance != geometry::nothing || state.light_instance != miNULLTAG;
    return {state.hit_instance,
            state.material,
            state.light_instance,
            isPoint ? depthOf(context, state.point) : context.frame.camera.clip.max,
            0.0f,
            {}};
}

/// A light or the background, behind which nothing is.
void noteSeen(SeenSurfaces& seen, const RenderContext& context, const miState& state, const miColor& color) {
    seen.open(state);
    seen.close(seenAt(context, state), color);
}

miBoolean shadeHit(RenderContext& context, miState* state, miColor& result) {
    const miMaterial* material = context.frame.materialOf(state->material);
    state->refraction_volume = volumeBeyond(context, *state);
    if (material && material->environment != miNULLTAG) state->environment = material->environment;
    if (state->type == miRAY_EYE && context.inEyeSample && !context.primary.hit)
        recordPrimaryHit(context, *state, material ? material->shader : miNULLTAG);

    ++context.counts.materialCalls;
    miBoolean delivered;
    if (!material || material->shader == miNULLTAG) {
        delivered = shadeDefaultMaterial(context, state, result);
    } else {
        delivered = context.runtime.call(&result, miSHADER_MATERIAL, state, material->shader);
        if (!isFinite(result)) {
            context.runtime.countFault(material->shader, shading::ShaderRuntime::Fault::NotANumber);
            result = {};
        }
    }
    if (context.hitObserver) context.hitObserver->shaded(state, result);
    return delivered;
}

} // namespace

miBoolean traceAndShade(RenderContext& context, ChildState& child, const geometry::Ray& ray,
                        miColor& result) {
    result = {};
    miState* state = child.get();
    geometry::Hit hit;
    LightHit light;
    miBoolean delivered;
    SeenSurfaces* const seen =
        context.seen && context.inEyeSample && context.seen->follows(*state) ? context.seen.get() : nullptr;
    const bool hits = context.frame.geometry.intersect(ray, hit);
    if (findVisibleLight(context.frame, ray, hits ? hit.distance : ray.farDistance, light)) {
        delivered = shadeVisibleLight(context, child.derived(), light, result);
        if (seen) noteSeen(*seen, context, *state, result);
    } else if (hits) {
        setHit(context, child.derived(), ray, hit, NormalSide::TowardRay);
        const SeenSurface surface = seen ? seenAt(context, *state) : SeenSurface{};
        if (seen) seen->open(*state);
        delivered = shadeHit(context, state, result);
        if (seen) seen->close(surface, result);
    } else {
        setMiss(*state);
        delivered = callEnvironment(context, state, result);
        if (seen && delivered) noteSeen(*seen, context, *state, result);
    }
    callVolume(context, state, result, delivered);
    if (!delivered) result = {};
    if (seen) seen->returnRay(result, delivered);
    return delivered;
}

void traceWithoutShading(RenderContext& context, ChildState& child, const geometry::Ray& ray) {
    geometry::Hit hit;
    LightHit light;
    const bool hits = context.frame.geometry.intersect(ray, hit);
    if (hits && !findVisibleLight(context.frame, ray, hit.distance, light))
        setHit(context, child.derived(), ray, hit, NormalSide::TowardRay);
    else setMiss(*child.get());
}

miBoolean callMaterial(miColor& result, miState* state) {
    RenderContext& context = renderContextOf(state);
    const miMaterial* const material = context.frame.materialOf(state->material);
    return material ? context.runtime.call(&result, miSHADER_MATERIAL, state, material->shader) : miFALSE;
}

} // namespace orca::render
