// SPDX-License-Identifier: Apache-2.0
#include "render/light/shadows.h"

#include "geometry/ray_origin.h"
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

/// Sets a context's shadow ray for the scope's lifetime.
class ShadowRayScope {
public:
    ShadowRayScope(RenderContext& context, const ShadowRay& shadowRay)
        : context_(context), before_(context.shadowRay) {
        context.shadowRay = &shadowRay;
    }
    ~ShadowRayScope() { context_.shadowRay = before_; }
    ShadowRayScope(const ShadowRayScope&) = delete;
    ShadowRayScope& operator=(const ShadowRayScope&) = delete;

private:
    RenderContext& context_;
    const ShadowRay* before_;
};

miVector negated(const miVector& v) {
    return {-v.x, -v.y, -v.z};
}

miVector along(const miVector& from, const miVector& direction, float distance) {
    return {from.x + direction.x * distance, from.y + direction.y * distance,
            from.z + direction.z * distance};
}

ShadowRay shadowRayOf(const RenderContext& context, miState* state) {
    const LightInstance* light = context.frame.lights.of(state->light_instance);
    ShadowRay shadowRay{};
    shadowRay.lightInstance = state->light_instance;
    // Light whose shader chooses the direction comes from infinity when it sets no distance.
    shadowRay.directional = light && (light->choosesPlaces() ? state->dist == 0.0 : light->directional());
    if (shadowRay.directional) {
        const miVector low = context.frame.geometry.boundsMin();
        const miVector high = context.frame.geometry.boundsMax();
        shadowRay.towardLight = negated(state->dir);
        // Beyond the far side of the scene, whether the point is within its bounds or not.
        shadowRay.distance = mi_vector_dist(&low, &high) + std::max(mi_vector_dist(&state->point, &low),
                                                                    mi_vector_dist(&state->point, &high));
        shadowRay.lightOrigin = along(state->point, shadowRay.towardLight, shadowRay.distance);
        return shadowRay;
    }
    shadowRay.lightOrigin = state->org;
    mi_vector_sub(&shadowRay.towardLight, &state->org, &state->point);
    shadowRay.distance = mi_vector_norm(&shadowRay.towardLight);
    mi_vector_div(&shadowRay.towardLight, shadowRay.distance);
    return shadowRay;
}

/// The next occluder that casts this light's shadows; exempt ones are skipped.
bool nextOccluder(RenderContext& context, Ray& ray, const ShadowRay& shadowRay, Hit& hit) {
    const geometry::SceneGeometry& geometry = context.frame.geometry;
    while (geometry.intersect(ray, hit)) {
        if (geometry.castsShadowOf(context.frame.meshInstances[hit.meshInstance], shadowRay.lightInstance))
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

/// Attenuation by a depth map; shadow shaders are not called.
miBoolean attenuateByMap(miColor& result, const ShadowMap& map, const miVector& point) {
    const float lit = map.lit(point);
    if (lit <= 0.0f) return blocked(result);
    result.r *= lit;
    result.g *= lit;
    result.b *= lit;
    return miTRUE;
}

/// Calls one occluder's shadow shader (simple and sorted mode). False when it blocks all light.
miBoolean callOccluder(RenderContext& context, miColor& result, miState* lightState, const Ray& ray,
                       const Hit& hit, const ShadowRay& shadowRay) {
    ChildState child(context, lightState, miRAY_SHADOW);
    child->org = shadowRay.lightOrigin;
    child->dir = negated(shadowRay.towardLight);
    setHit(context, child.derived(), ray, hit, NormalSide::AsModelled);
    child->dist =
        std::max(mi_vector_dist(&shadowRay.lightOrigin, &child->point), std::numeric_limits<float>::min());
    const miMaterial* material = occluderMaterial(context, *child.get());
    if (!material || material->shadow == miNULLTAG) return blocked(result);
    child->refraction_volume = material->volume;
    return context.runtime.call(&result, miSHADER_SHADOW, child.get(), material->shadow);
}

/// Follows `ray`, toward the light, from occluder to occluder until one blocks all light.
miBoolean attenuateByOccluders(RenderContext& context, miColor& result, miState* lightState, Ray& ray,
                               const ShadowRay& shadowRay) {
    Hit hit;
    while (nextOccluder(context, ray, shadowRay, hit)) {
        if (!callOccluder(context, result, lightState, ray, hit, shadowRay)) return miFALSE;
        advancePastHit(ray, hit);
    }
    return miTRUE;
}

/// Occluders of a shadow ray, at the end of the thread's list: a shadow shader may sample lights in turn.
class OccluderList {
public:
    explicit OccluderList(std::vector<Hit>& hits) : hits_(hits), first_(hits.size()) {}
    ~OccluderList() { hits_.resize(first_); }
    OccluderList(const OccluderList&) = delete;
    OccluderList& operator=(const OccluderList&) = delete;

    void add(const Hit& hit) { hits_.push_back(hit); }
    [[nodiscard]] bool empty() const { return hits_.size() == first_; }
    /// The one last added.
    [[nodiscard]] Hit take() {
        const Hit hit = hits_.back();
        hits_.pop_back();
        return hit;
    }

private:
    std::vector<Hit>& hits_;
    std::size_t first_;
};

/// The same in the order from the light. The occluders are found from the point all the same: distances from
/// a light far away are too coarse to tell surfaces apart that are close together.
miBoolean attenuateFromLight(RenderContext& context, miColor& result, miState* lightState, Ray& ray,
                             const ShadowRay& shadowRay) {
    OccluderList occluders(context.occluders);
    Hit hit;
    while (nextOccluder(context, ray, shadowRay, hit)) {
        occluders.add(hit);
        advancePastHit(ray, hit);
    }
    while (!occluders.empty())
        if (!callOccluder(context, result, lightState, ray, occluders.take(), shadowRay)) return miFALSE;
    return miTRUE;
}

/// From the point toward the light.
Ray rayTowardLight(const RenderContext& context, const miState& state, const ShadowRay& shadowRay) {
    Ray ray = rayFrom(context, state, state.point, shadowRay.towardLight, RayClass::Shadow);
    if (!shadowRay.directional) ray.farDistance = shadowRay.distance;
    return ray;
}

/// Segment mode, from `state` to the light: calls the shadow shader of the next occluder, which continues by
/// itself, then the volume shader of the segment.
miBoolean traceSegment(RenderContext& context, miColor& result, miState* state, miTag volume, Ray ray,
                       const ShadowRay& shadowRay) {
    Hit hit;
    ChildState child(context, state, miRAY_SHADOW);
    child->light_instance = shadowRay.lightInstance;
    child->org = state->point;
    child->dir = negated(shadowRay.towardLight);
    child->volume = volume;
    miBoolean delivered = miTRUE;
    if (nextOccluder(context, ray, shadowRay, hit)) {
        setHit(context, child.derived(), ray, hit, NormalSide::AsModelled);
        child->dist = std::max(mi_vector_dist(&child->org, &child->point), std::numeric_limits<float>::min());
        const miMaterial* material = occluderMaterial(context, *child.get());
        if (!material || material->shadow == miNULLTAG) return blocked(result);
        child->refraction_volume = material->volume;
        delivered = context.runtime.call(&result, miSHADER_SHADOW, child.get(), material->shadow);
    } else {
        setMiss(*child.get());
        child->point = shadowRay.lightOrigin;
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
    if (mode == miSHADOW_OFF || context.seesThroughOccluders || refusesRays(context)) return miTRUE;
    const ShadowMap* map =
        context.frame.shadowMaps ? context.frame.shadowMaps->of(lightState->light_instance) : nullptr;
    if (!map && !context.frame.options.trace) return miTRUE;
    if (lightState->hit_instance != geometry::nothing &&
        !context.frame.meshInstances[lightState->hit_instance].receivesShadows)
        return miTRUE;

    if (map) return attenuateByMap(result, *map, lightState->point);
    ++context.counts.shadow;
    const ShadowRay shadowRay = shadowRayOf(context, lightState);
    const ShadowRayScope scope(context, shadowRay);
    if (mode == miSHADOW_SEGMENTS)
        return traceSegment(context, result, lightState, lightState->volume,
                            rayTowardLight(context, *lightState, shadowRay), shadowRay);
    Ray ray = rayTowardLight(context, *lightState, shadowRay);
    return mode == miSHADOW_SORTED ? attenuateFromLight(context, result, lightState, ray, shadowRay)
                                   : attenuateByOccluders(context, result, lightState, ray, shadowRay);
}

miBoolean traceShadowSegment(miColor& result, miState* shadowState) {
    RenderContext& context = renderContextOf(shadowState);
    if (!context.shadowRay || refusesRays(context)) return miTRUE;
    const ShadowRay& shadowRay = *context.shadowRay;
    Ray ray = rayFrom(context, *shadowState, shadowState->point, shadowRay.towardLight, RayClass::Shadow);
    if (!shadowRay.directional) ray.farDistance = mi_vector_dist(&shadowRay.lightOrigin, &shadowState->point);
    return traceSegment(context, result, shadowState, shadowState->refraction_volume, ray, shadowRay);
}

} // namespace orca::render
