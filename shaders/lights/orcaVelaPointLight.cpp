// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaPointLight.h"

#include "orcaLightStrength.h"
#include "orcaVelaLight.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using P = PointLightParameters;

/// How light fog falls off.
enum FogType { FOG_BY_DECAY = 0, FOG_SOFT = 1, FOG_SOFTER = 2 };

constexpr float pi = std::numbers::pi_v<float>;
constexpr const char* name = "vela_pointlight";

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

/// Flux goes into all directions; a lamp of the shadows' radius has the luminance.
std::optional<LightStrength> strength(miState* state, P* record) {
    const miScalar radius = parameterValue(state, record, &P::lightRadius);
    return lampStrength(state, record, name, 4.0f * pi, pi * radius * radius);
}

float intensityAtPoint(miState* state, P* record, const VelabaseState& vela, const LightStrength& strength) {
    float intensity;
    if (vela.flags & VELA_BIT_ENVLIGHTFOG)
        intensity =
            fogDensity(state, record) * parameterValue(state, record, &P::fogIntensity) * strength.value;
    else
        intensity =
            strength.at(static_cast<float>(state->dist), parameterValue(state, record, &P::decayRate));
    const miTag profile = parameterValue(state, record, &P::lightProfile);
    if (profile != miNULLTAG) intensity *= mi_lightprofile_sample(state, profile, miTRUE);
    return intensity;
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaPointLight_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaPointLight(miColor* result, miState* state, PointLightParameters* record) {
    return asLight(state, name, [&](VelabaseState& vela, const PassRecords& passes) -> miBoolean {
        const bool lights = state->type == miRAY_LIGHT;
        if (light_backside_hit(state)) {
            if (lights) return miFALSE;
            *result = BLACK;
            return showLamp(*result, vela);
        }
        const auto lamp = strength(state, record);
        if (!lamp) return miFALSE;

        miVector pointInLight;
        mi_point_to_light(state, &pointInLight, &state->point);
        const LightTextureSpace textureSpace(state, vela, sphericalCoordinate(pointInLight));
        const float intensity = intensityAtPoint(state, record, vela, *lamp);
        const miColor color = lampColor(state, record);
        *result = withAlpha(color * intensity, color.a);
        if (!lights) return showLamp(*result, vela);
        return deliverFromDisc(*result, state, record, vela, passes, intensity);
    });
}

} // extern "C"

#include "declared/orcaVelaPointLight.h"
