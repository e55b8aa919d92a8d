// SPDX-License-Identifier: Apache-2.0
#include "render/light/light_sampling.h"

#include "base/orthonormal_basis.h"
#include "render/context/surroundings.h"
#include "render/light/light_profiles.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::render {

namespace {

struct SampleCounts {
    int u, v;
    [[nodiscard]] int total() const { return u * v; }
};

SampleCounts countsAt(const miLight& light, const miState* state) {
    const bool deep =
        light.low_level > 0 && state->reflection_level + state->refraction_level >= light.low_level;
    return {std::max(1, deep ? light.low_samples_u : light.samples_u),
            std::max(1, deep ? light.low_samples_v : light.samples_v)};
}

/// Point of the light's area for (u, v) in [0, 1)^2, uniform by area, light space.
miVector pointOnArea(const miLight& light, float u, float v) {
    const float angle = 2.0f * std::numbers::pi_v<float> * v;
    miVector offset{};
    switch (light.area) {
    case miLIGHT_RECTANGLE:
        offset = {(u - 0.5f) * light.edge_u.x + (v - 0.5f) * light.edge_v.x,
                  (u - 0.5f) * light.edge_u.y + (v - 0.5f) * light.edge_v.y,
                  (u - 0.5f) * light.edge_u.z + (v - 0.5f) * light.edge_v.z};
        break;
    case miLIGHT_DISC: {
        miVector axis = light.axis;
        mi_vector_normalize(&axis);
        const float radius = light.radius * std::sqrt(u);
        offset = basisAbout(axis).combine(radius * std::cos(angle), radius * std::sin(angle), 0.0f);
        break;
    }
    case miLIGHT_SPHERE: {
        const float z = 1.0f - 2.0f * u;
        const float ring = std::sqrt(std::max(0.0f, 1.0f - z * z));
        offset = {light.radius * ring * std::cos(angle), light.radius * ring * std::sin(angle),
                  light.radius * z};
        break;
    }
    case miLIGHT_CYLINDER: {
        miVector axis = light.axis;
        mi_vector_normalize(&axis);
        offset = basisAbout(axis).combine(light.radius * std::cos(angle), light.radius * std::sin(angle),
                                          (u - 0.5f) * mi_vector_norm(&light.axis));
        break;
    }
    default: break;
    }
    miVector point;
    mi_vector_add(&point, &light.origin, &offset);
    return point;
}

miVector lightPoint(RenderContext& context, const LightInstance& light, const SampleCounts& counts,
                    int sample, std::uint32_t key) {
    const auto total = static_cast<std::uint32_t>(counts.total());
    const auto index = static_cast<std::uint32_t>(sample);
    const int column = sample % counts.u;
    const int row = sample / counts.u;
    const float u = (static_cast<float>(column) + context.sampler.coordinate(key, index, total, 0)) /
                    static_cast<float>(counts.u);
    const float v = (static_cast<float>(row) + context.sampler.coordinate(key, index, total, 1)) /
                    static_cast<float>(counts.v);
    const miVector inLight = pointOnArea(*light.light, u, v);
    miVector point;
    mi_point_transform(&point, &inLight, light.record->tf.local_to_global);
    return point;
}

/// Sets the ray of a light state; false for points outside a spot's cone.
bool setLightRay(ChildState& child, const LightInstance& light, const miState* state,
                 const miVector& origin) {
    if (light.directional()) {
        child->dir = light.direction;
        child->dist = 0.0;
    } else {
        child->org = origin;
        mi_vector_sub(&child->dir, &state->point, &origin);
        const float distance = mi_vector_norm(&child->dir);
        mi_vector_div(&child->dir, distance);
        child->dist = distance;
        if (light.light->type == miLIGHT_SPOT &&
            mi_vector_dot(&child->dir, &light.direction) < light.light->spread)
            return false;
    }
    child->dot_nd = -mi_vector_dot(&child->dir, &state->normal);
    return true;
}

} // namespace

miBoolean sampleLight(miColor& result, miVector& direction, miScalar& cosine, miState* state,
                      miTag lightInstance, miInteger& samples, AreaSampling area) {
    RenderContext& context = renderContextOf(state);
    const LightInstance* light = context.frame.lights.of(lightInstance);
    if (!light || light->record->off || refusesRays(context)) return miFALSE;
    const bool sampleArea = area == AreaSampling::Full && light->hasArea();
    const SampleCounts counts = sampleArea ? countsAt(*light->light, state) : SampleCounts{1, 1};
    std::uint32_t key = 0;
    if (sampleArea && samples < counts.total()) key = context.sampler.lightKey(&samples, samples == 0);

    while (samples < counts.total()) {
        const int sample = samples++;
        ChildState child(context, state, miRAY_LIGHT);
        child->light_instance = lightInstance;
        const miVector origin = sampleArea ? lightPoint(context, *light, counts, sample, key) : light->origin;
        if (!setLightRay(child, *light, state, origin)) continue;

        ++context.counts.lightCalls;
        result = {};
        miBoolean delivered =
            context.runtime.call(&result, miSHADER_LIGHT, child.get(), light->light->shader);
        if (!delivered) continue;
        callVolume(context, child.get(), result, delivered);
        if (!delivered) continue;
        direction = {-child->dir.x, -child->dir.y, -child->dir.z};
        cosine = mi_vector_dot(&state->normal, &direction);
        return miTRUE;
    }
    return miFALSE;
}

miScalar sampleLightProfile(miState* state, miTag profile, miBoolean interpolate) {
    if (profile == miNULLTAG) return 1.0f;
    const Frame& frame = renderContextOf(state).frame;
    const LightInstance* light = frame.lights.of(state->light_instance);
    miVector direction = state->dir;
    if (light) mi_vector_transform(&direction, &state->dir, light->record->tf.global_to_local);
    return frame.lightProfiles.toward(profile, direction, interpolate != miFALSE);
}

} // namespace orca::render
