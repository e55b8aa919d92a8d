// SPDX-License-Identifier: Apache-2.0
#include "render/light/shadows.h"

#include "render/context/surface_state.h"
#include "render/context/surroundings.h"
#include "render/light/shadow_map.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

using geometry::Hit;
using geometry::Ray;
using geometry::RayClass;

/// Puts a context's shadow path back when the query ends.
class PathScope {
public:
    PathScope(RenderContext& context, const ShadowPath& path)
        : context_(context), before_(context.shadowPath) {
        context.shadowPath = &path;
    }
    ~PathScope() { context_.shadowPath = before_; }
    PathScope(const PathScope&) = delete;
    PathScope& operator=(const PathScope&) = delete;

private:
    RenderContext& context_;
    const ShadowPath* before_;
};

miVector negated(const miVector& v) {
    return {-v.x, -v.y, -v.z};
}

miVector along(const miVector& from, const miVector& direction, float distance) {
    return {from.x + direction.x * distance, from.y + direction.y * distance,
            from.z + direction.z * distance};
}

ShadowPath pathOf(const RenderContext& context, miState* state) {
    const LightInstance* light = context.frame.lights.of(state->light_instance);
    ShadowPath path{};
    path.lightInstance = state->light_instance;
    path.lightState = state;
    path.directional = light && light->directional();
    if (path.directional) {
        const miVector low = context.frame.geometry.boundsMin();
        const miVector high = context.frame.geometry.boundsMax();
        path.towardLight = negated(state->dir);
        // Beyond the far side of everything, wherever in or out of the bounds the point is.
        path.distance = mi_vector_dist(&low, &high) +
                        std::max(mi_vector_dist(&state->point, &low), mi_vector_dist(&state->point, &high));
        path.lightOrigin = along(state->point, path.towardLight, path.distance);
        return path;
    }
    path.lightOrigin = state->org;
    mi_vector_sub(&path.towardLight, &state->org, &state->point);
    path.distance = mi_vector_norm(&path.towardLight);
    mi_vector_div(&path.towardLight, path.distance);
    return path;
}

/// The next occluder that casts this light's shadows; occluders that are exempt are passed over.
bool nextOccluder(RenderContext& context, Ray& ray, const ShadowPath& path, Hit& hit) {
    const geometry::SceneGeometry& geometry = context.frame.geometry;
    while (geometry.intersect(ray, hit)) {
        if (geometry.castsShadowOf(context.frame.meshInstances[hit.meshInstance], path.lightInstance))
            return true;
        advancePastHit(ray, hit);
    }
    return false;
}

const miMaterial* occluderMaterial(const RenderContext& context, const miState& state) {
    return context.frame.materialOf(state.material);
}

miBoolean blocked(miColor& result) {
    result.r = result.g = result.b = 0.0f;
    return miFALSE;
}

/// What a depth map leaves of the light; its occluders' shaders are not asked.
miBoolean dimByMap(miColor& result, const ShadowMap& map, const miVector& point) {
    const float lit = map.lit(point);
    if (lit <= 0.0f) return blocked(result);
    result.r *= lit;
    result.g *= lit;
    result.b *= lit;
    return miTRUE;
}

/// One occluder of a plain walk.
miBoolean callOccluder(RenderContext& context, miColor& result, miState* lightState, const Ray& ray,
                       const Hit& hit, const ShadowPath& path) {
    ChildState child(context, lightState, miRAY_SHADOW);
    child->org = path.lightOrigin;
    child->dir = negated(path.towardLight);
    setHit(context, child.derived(), ray, hit, NormalSide::AsModelled);
    child->dist =
        std::max(mi_vector_dist(&path.lightOrigin, &child->point), std::numeric_limits<float>::min());
    const miMaterial* material = occluderMaterial(context, *child.get());
    if (!material || material->shadow == miNULLTAG) return blocked(result);
    child->refraction_volume = material->volume;
    return context.runtime.call(&result, miSHADER_SHADOW, child.get(), material->shadow);
}

/// Moves `ray` on from occluder to occluder.
miBoolean walk(RenderContext& context, miColor& result, miState* lightState, Ray& ray,
               const ShadowPath& path) {
    Hit hit;
    while (nextOccluder(context, ray, path, hit)) {
        if (!callOccluder(context, result, lightState, ray, hit, path)) return miFALSE;
        advancePastHit(ray, hit);
    }
    return miTRUE;
}

/// From the point toward the light.
Ray rayTowardLight(const RenderContext& context, const miState& state, const ShadowPath& path) {
    Ray ray = rayFrom(context, state, state.point, path.towardLight, RayClass::Shadow);
    if (!path.directional) ray.farDistance = path.distance;
    return ray;
}

/// From the light toward the point; ends just short of the surface that is lit.
Ray rayFromLight(const RenderContext& context, const miState& state, const ShadowPath& path) {
    const Ray outward = rayTowardLight(context, state, path);
    Ray ray = outward;
    ray.origin = path.lightOrigin;
    miVector way;
    mi_vector_sub(&way, &outward.origin, &path.lightOrigin);
    ray.farDistance = mi_vector_norm(&way);
    mi_vector_div(&way, ray.farDistance);
    ray.direction = way;
    return ray;
}

/// The rest of a segment walk from `state` on: the next occluder's shader, or the light.
miBoolean segment(RenderContext& context, miColor& result, miState* state, miTag volume, Ray ray,
                  const ShadowPath& path) {
    Hit hit;
    ChildState child(context, state, miRAY_SHADOW);
    child->light_instance = path.lightInstance;
    child->org = state->point;
    child->dir = negated(path.towardLight);
    child->volume = volume;
    miBoolean delivered = miTRUE;
    if (nextOccluder(context, ray, path, hit)) {
        setHit(context, child.derived(), ray, hit, NormalSide::AsModelled);
        child->dist = std::max(mi_vector_dist(&child->org, &child->point), std::numeric_limits<float>::min());
        const miMaterial* material = occluderMaterial(context, *child.get());
        if (!material || material->shadow == miNULLTAG) return blocked(result);
        child->refraction_volume = material->volume;
        delivered = context.runtime.call(&result, miSHADER_SHADOW, child.get(), material->shadow);
    } else {
        setMiss(*child.get());
        child->point = path.lightOrigin;
        child->dist = mi_vector_dist(&child->org, &child->point);
    }
    child->volume = volume;
    if (delivered) callVolume(context, child.get(), result, delivered);
    return delivered;
}

} // namespace

miBoolean traceShadow(miColor& result, miState* lightState) {
    RenderContext& context = renderContextOf(lightState);
    const char mode = context.frame.options.shadow;
    if (mode == miSHADOW_OFF || context.depth >= maxNesting) return miTRUE;
    const ShadowMap* map =
        context.frame.shadowMaps ? context.frame.shadowMaps->of(lightState->light_instance) : nullptr;
    if (!map && !context.frame.options.trace) return miTRUE;
    if (lightState->hit_instance != geometry::nothing &&
        !context.frame.meshInstances[lightState->hit_instance].receivesShadows)
        return miTRUE;

    if (map) return dimByMap(result, *map, lightState->point);
    ++context.counts.shadow;
    const ShadowPath path = pathOf(context, lightState);
    const PathScope scope(context, path);
    if (mode == miSHADOW_SEGMENTS)
        return segment(context, result, lightState, lightState->volume,
                       rayTowardLight(context, *lightState, path), path);
    Ray ray = mode == miSHADOW_SORTED ? rayFromLight(context, *lightState, path)
                                      : rayTowardLight(context, *lightState, path);
    return walk(context, result, lightState, ray, path);
}

miBoolean traceShadowSegment(miColor& result, miState* shadowState) {
    RenderContext& context = renderContextOf(shadowState);
    if (!context.shadowPath || context.depth >= maxNesting) return miTRUE;
    const ShadowPath& path = *context.shadowPath;
    Ray ray = rayFrom(context, *shadowState, shadowState->point, path.towardLight, RayClass::Shadow);
    if (!path.directional) ray.farDistance = mi_vector_dist(&path.lightOrigin, &shadowState->point);
    return segment(context, result, shadowState, shadowState->refraction_volume, ray, path);
}

} // namespace orca::render
