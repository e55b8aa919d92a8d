// SPDX-License-Identifier: Apache-2.0
#include "orcaSpecular.h"

#include "orcaConstants.h"
#include "orcaMicrofacet.h"
#include "orcaVector.h"

#include <cmath>

namespace {

/// Eye rays see the bare strength, which keeps highlights bright up to the terminator; what reaches other
/// surfaces obeys the cosine law.
float seenAlong(const miState* state, float strength, float nDotL) {
    if (!(strength > 0.0f)) return 0.0f;
    if (state->type == miRAY_EYE) return strength;
    return nDotL > 0.0f ? strength * nDotL : 0.0f;
}

/// Cosine between a unit vector and one of any length; 0 for a null vector.
float cosineTo(const miVector& unit, const miVector& other) {
    const float l = length(other);
    return l == 0.0f ? 0.0f : dot(unit, other) / l;
}

} // namespace

float compute_phong_specular(const miVector* mirror, const miVector* light, miState* state, float exponent,
                             float nDotL) {
    constexpr float negligible = -10.0f;
    constexpr float tail = 4.54e-5f; // about e^-10
    const float cosine = cosineTo(*mirror, *light);
    if (!(cosine > 0.0f)) return 0.0f;
    const float x = std::log(cosine) * exponent;
    return seenAlong(state, x < negligible ? tail : std::exp(x), nDotL);
}

float compute_phongE_specular(const miVector* mirror, float whiteness, float roughness, float size,
                              float nDotL, const miVector* light, miState* state) {
    const float d = 1.0f - cosineTo(*mirror, *light);
    if (size <= d) return 0.0f;
    const float u = 1.0f - d / size;
    const float q = u * u * (roughness - 1.0f) + 1.0f;
    if (std::abs(q) < VELA_EPS) return 0.0f;
    float strength = roughness / q * u;
    if (whiteness < 0.1f && strength > 0.001f) strength *= whiteness * 10.0f;
    return seenAlong(state, strength, nDotL);
}

float compute_blinn_specular(const miVector* light, const miVector* normal, miState* state, float lightCosine,
                             float viewCosine, float eccentricity, float rollOff, float nDotL) {
    const miVector half = normalized(*light - state->dir);
    const float v = -dot(half, state->dir);
    float h = dot(*normal, half);
    // Rounding may carry the cosine past 1, where the distribution of narrow highlights has a pole.
    constexpr float rounding = 1e-4f;
    if (h > 1.0f && h < 1.0f + rounding) h = 1.0f;

    float m = eccentricity * eccentricity - 1.0f;
    if (std::abs(m) < VELA_EPS) m = VELA_EPS;
    const float t = 1.0f / m;

    const float root = (t + 1.0f) / (h * h + t);
    const float g = facetAttenuation(lightCosine, viewCosine, h, v) * (root * root);

    const float away = 1.0f - v;
    const float f = away * away * away;
    return seenAlong(state, (f + (1.0f - f) * rollOff) * g, nDotL);
}
