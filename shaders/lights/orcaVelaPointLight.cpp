// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaPointLight.h"

#include "orcaDiscShadow.h"
#include "orcaUtilities.h"
#include "orcaVelaLight.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using P = PointLightParameters;

/// How light fog falls off.
enum FogType { FOG_BY_DECAY = 0, FOG_SOFT = 1, FOG_SOFTER = 2 };

constexpr float pi = std::numbers::pi_v<float>;

/// Position in light space as latitude and longitude, so that a texture surrounds the light.
miVector sphericalCoordinate(const miVector& p) {
    const float fromAxis = std::hypot(p.x, p.z);
    const float u = std::abs(p.z) < VELA_EPS ? 0.5f : std::atan2(p.x, p.z) * 0.5f / pi + 0.5f;
    const float v = fromAxis < VELA_EPS ? 0.5f : std::atan(p.y / fromAxis) / pi + 0.5f;
    return {u, v, p.z};
}

/// Decay only attenuates: within the unit distance the light has its full intensity.
float decayed(float intensity, float distance, int rate) {
    if (!(distance > 1.0f) || rate < 1 || rate > 3) return intensity;
    for (int i = 0; i < rate; ++i) intensity /= distance;
    return intensity;
}

/// Density of the fog in the middle of a ray through it.
float fogDensity(miState* state, P* record) {
    const float middle = state->parent ? static_cast<float>(state->parent->dist) * 0.5f : 0.0f;
    const float radius = parameterValue(state, record, &P::fogRadius);
    // At the radius every kind is 1, also for a radius of 0.
    if (!(middle < radius)) return 1.0f;
    // radius + radius^2 - middle^2, without cancellation: the share must not exceed 1, because a root is
    // taken of the rest.
    const float x = middle / (radius + (radius - middle) * (radius + middle));
    const int decay = parameterValue(state, record, &P::decayRate);
    switch (parameterValue(state, record, &P::fogType)) {
    case FOG_BY_DECAY: return decay == 3 ? x * x * x : decay == 2 ? x * x : x;
    case FOG_SOFT: {
        const float soft = decay > 1 ? 1.0f - std::pow(1.0f - x, 1.0f / static_cast<float>(decay)) : x;
        return soft * soft;
    }
    case FOG_SOFTER: {
        const float soft = 1.0f - std::pow(std::max(0.0f, 1.0f - x), 1.0f / static_cast<float>(decay + 2));
        return soft * soft;
    }
    default: return x;
    }
}

float intensityAtPoint(miState* state, P* record, const VelabaseState& vela) {
    float intensity = parameterValue(state, record, &P::intensity);
    if (vela.flags & VELA_BIT_ENVLIGHTFOG)
        intensity = fogDensity(state, record) * parameterValue(state, record, &P::fogIntensity) * intensity;
    else
        intensity =
            decayed(intensity, static_cast<float>(state->dist), parameterValue(state, record, &P::decayRate));
    const miTag profile = parameterValue(state, record, &P::lightProfile);
    if (profile != miNULLTAG) intensity *= mi_lightprofile_sample(state, profile, miTRUE);
    return intensity;
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaPointLight_version(void) {
    return 1;
}

/// Emits in all directions with decay, fog or a profile. False without the base state and on the back of a
/// one-sided area shape.
ORCA_EXPORT miBoolean orcaVelaPointLight(miColor* result, miState* state, PointLightParameters* record) {
    VelabaseState* const vela = velabaseState(state);
    if (!vela) {
        orcaWarning("vela_pointlight(): Internal state error.");
        return miFALSE;
    }
    const PassRecords passes(state, *vela);
    setupLightContributions(passes.count, passes.records, state);
    const bool lights = state->type == miRAY_LIGHT;
    if (light_backside_hit(state)) {
        if (lights) return miFALSE;
        *result = {0.0f, 0.0f, 0.0f, 1.0f};
        clearLightColors(*vela);
        return miTRUE;
    }

    miVector pointInLight;
    mi_point_to_light(state, &pointInLight, &state->point);
    const LightTextureSpace textureSpace(state, *vela, sphericalCoordinate(pointInLight));

    const float intensity = intensityAtPoint(state, record, *vela);
    const miColor color = parameterValue(state, record, &P::color);
    *result = withAlpha(color * intensity, color.a);
    if (!lights) {
        result->a = 1.0f;
        clearLightColors(*vela);
        return miTRUE;
    }

    vela->lightData.shadowFraction = 0.0f;
    vela->lightData.unshadowedColor = *result;
    const miColor unshadowed = *result;
    shadeLight(*result, state, record, *vela, passes, intensity, &P::lightRadius,
               [&](miColor* transmission, const miColor& shadowColor, float radius, unsigned rays) {
                   return sample_disc_shadow(transmission, &unshadowed, &shadowColor, radius, rays, state,
                                             passes.count, passes.records);
               });
    describeLight(state, record, vela->lightData);
    return miTRUE;
}

} // extern "C"

#include "declared/orcaVelaPointLight.h"
