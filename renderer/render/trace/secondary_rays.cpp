// SPDX-License-Identifier: Apache-2.0
#include "render/trace/secondary_rays.h"

#include "render/context/surface_state.h"
#include "render/context/surroundings.h"
#include "render/trace/media.h"
#include "render/trace/trace_and_shade.h"

#include <algorithm>

namespace orca::render {

namespace {

using geometry::Ray;
using geometry::RayClass;

/// True below the picture's ray depths and, within a gather, below the gather's own, which count from the
/// level at which it began.
bool withinDepth(const RenderContext& context, const miState* state, RayClass kind) {
    const miOptions& options = *state->options;
    const bool reflects = kind == RayClass::Reflect;
    const int level = reflects ? state->reflection_level : state->refraction_level;
    const int sum = state->reflection_level + state->refraction_level;
    if (level >= (reflects ? options.reflection_depth : options.refraction_depth) ||
        sum >= options.trace_depth)
        return false;
    if (context.gatherDepth == 0) return true;
    const GatherSettings& gather = context.frame.gather;
    const int base = reflects ? context.gatherReflectionBase : context.gatherRefractionBase;
    const int sumBase = context.gatherReflectionBase + context.gatherRefractionBase;
    const std::optional<int>& limit = reflects ? gather.reflectionDepth : gather.refractionDepth;
    return (!limit || level - base < *limit) && (!gather.traceDepth || sum - sumBase < *gather.traceDepth);
}

/// The mesh instance that the state's ray hit, which limits the rays that may leave it; null for none.
const geometry::MeshInstance* meshInstanceAt(const RenderContext& context, const miState* state) {
    return state->hit_instance == geometry::nothing ? nullptr
                                                    : &context.frame.meshInstances[state->hit_instance];
}

miBoolean castFrom(RenderContext& context, ChildState& child, miState* state, const miVector& direction,
                   RayClass rayClass, miColor& result) {
    child->org = state->point;
    child->dir = direction;
    Ray ray = rayFrom(context, *state, state->point, direction, rayClass);
    ray.nearDistance = static_cast<float>(state->ray_offset);
    if (!(state->falloff_stop > 0.0)) return traceAndShade(context, child, ray, result);

    ray.farDistance = static_cast<float>(state->falloff_stop);
    const miBoolean delivered = traceAndShade(context, child, ray, result);
    const double distance = child->dist;
    if (distance <= state->falloff_start) return delivered;
    miColor beyond{};
    const miBoolean hasEnvironment = traceEnvironment(beyond, state, direction);
    const double fade = (distance - state->falloff_start) / (state->falloff_stop - state->falloff_start);
    const auto share = static_cast<float>(std::clamp(fade, 0.0, 1.0));
    const auto mix = [share](float& near, float far) { near += share * (far - near); };
    mix(result.r, beyond.r);
    mix(result.g, beyond.g);
    mix(result.b, beyond.b);
    mix(result.a, beyond.a);
    return delivered || hasEnvironment;
}

RayClass classOf(miRay_type type) {
    switch (type) {
    case miRAY_TRANSPARENT: return RayClass::Transparent;
    case miRAY_REFLECT: return RayClass::Reflect;
    case miRAY_REFRACT: return RayClass::Refract;
    case miRAY_FINALGATHER: return RayClass::Gather;
    default: return RayClass::Eye;
    }
}

} // namespace

miBoolean traceReflection(miColor& result, miState* state, const miVector& direction) {
    RenderContext& context = renderContextOf(state);
    const geometry::MeshInstance* meshInstance = meshInstanceAt(context, state);
    if (!state->options->trace || (meshInstance && !meshInstance->sendsReflections) || refusesRays(context) ||
        !withinDepth(context, state, RayClass::Reflect))
        return miFALSE;
    ++context.counts.reflection;
    ChildState child(context, state, miRAY_REFLECT);
    ++child->reflection_level;
    return castFrom(context, child, state, direction, RayClass::Reflect, result);
}

miBoolean traceRefraction(miColor& result, miState* state, const miVector& direction) {
    RenderContext& context = renderContextOf(state);
    const geometry::MeshInstance* meshInstance = meshInstanceAt(context, state);
    if (!state->options->trace || (meshInstance && !meshInstance->sendsRefractions) || refusesRays(context) ||
        !withinDepth(context, state, RayClass::Refract))
        return miFALSE;
    ++context.counts.refraction;
    ChildState child(context, state, miRAY_REFRACT);
    ++child->refraction_level;
    child->volume = state->refraction_volume;
    const CrossedSurface crossed(context, *state);
    return castFrom(context, child, state, direction, RayClass::Refract, result);
}

miBoolean traceTransparent(miColor& result, miState* state) {
    RenderContext& context = renderContextOf(state);
    const geometry::MeshInstance* meshInstance = meshInstanceAt(context, state);
    // The level may be -1 here: a caller may have lowered it, and the lowered value counts.
    if ((meshInstance && !meshInstance->sendsTransparency) || refusesRays(context) ||
        !withinDepth(context, state, RayClass::Refract))
        return miFALSE;
    ++context.counts.transparent;
    ChildState child(context, state, miRAY_TRANSPARENT);
    ++child->refraction_level;
    child->volume = state->refraction_volume;
    const CrossedSurface crossed(context, *state);
    return castFrom(context, child, state, state->dir, RayClass::Transparent, result);
}

miBoolean traceContinue(miColor& result, miState* state) {
    RenderContext& context = renderContextOf(state);
    if (refusesRays(context)) return miFALSE;
    ++context.counts.transparent;
    ChildState child(context, state, state->type);
    return castFrom(context, child, state, state->dir, classOf(state->type), result);
}

miBoolean traceEnvironment(miColor& result, miState* state, const miVector& direction) {
    RenderContext& context = renderContextOf(state);
    if (refusesRays(context)) return miFALSE;
    ChildState child(context, state, miRAY_ENVIRONMENT);
    child->org = state->point;
    child->dir = direction;
    setMiss(*child.get());
    miColor color{};
    miBoolean delivered = callEnvironment(context, child.get(), color);
    if (!delivered) return miFALSE;
    callVolume(context, child.get(), color, delivered);
    result = color;
    return delivered;
}

miBoolean traceProbe(miState* state, const miVector& direction, const miVector& origin) {
    RenderContext& context = renderContextOf(state);
    if (refusesRays(context)) return miFALSE;
    ChildState child(context, state, miRAY_PROBE);
    child->org = origin;
    child->dir = direction;
    Ray ray = rayFrom(context, *state, origin, direction, RayClass::Gather);
    const miVector& point = state->point;
    if (origin.x != point.x || origin.y != point.y || origin.z != point.z) {
        // A probe from another point may hit the state's own surface.
        ray.origin = origin;
        ray.skipInstance = ray.skipTriangle = geometry::nothing;
    }
    ray.nearDistance = static_cast<float>(state->ray_offset);
    geometry::Hit hit;
    if (!context.frame.geometry.intersect(ray, hit)) {
        setMiss(*child.get());
        return miFALSE;
    }
    setHit(context, child.derived(), ray, hit, NormalSide::TowardRay);
    return miTRUE;
}

} // namespace orca::render
