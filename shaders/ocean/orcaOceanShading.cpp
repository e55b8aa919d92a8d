// SPDX-License-Identifier: Apache-2.0
#include "orcaOceanShading.h"

#include "orcaAreaLight.h"
#include "orcaColor.h"
#include "orcaConstants.h"
#include "orcaMicrofacet.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>

namespace {

/// 0 to 1: how nearly the light is seen straight through the water.
miScalar forwardness(miState* state, const miVector& direction, const AreaLightRecord* area) {
    const miScalar cosine =
        area ? arealight_lambertian_reflect(state, &state->dir, area) : dot(direction, state->dir);
    if (cosine < -1.0f) return 0.0f;
    if (cosine > 1.0f) return 1.0f;
    return (1.0f + cosine) * 0.5f;
}

} // namespace

miScalar oceanFresnel(miScalar cosine, miScalar index) noexcept {
    const miScalar c = std::clamp(cosine, 0.0f, 1.0f);
    const miScalar sine = std::sqrt(1.0f - c * c);
    const miScalar squared = index * index - sine * sine;
    if (squared < 0.0f) return 1.0f; // total internal reflection
    const miScalar g = std::sqrt(squared);
    if (c + g == 0.0f) return 1.0f;
    const miScalar across = (c - g) / (c + g);
    const miScalar along = (index * index * c - g) / (index * index * c + g);
    return 0.5f * (across * across + along * along);
}

void oceanshader_apply_foam(miScalar foam, const miColor* illumination, const miColor* foamColor,
                            miColor* color, miInteger mode, miColor* opacity, miColor* attenuated) {
    if (!(foam > 0.0f)) return;
    constexpr miScalar closesFrom = 0.3f; // up to here foam only tints the water
    const miScalar u = foam - closesFrom;
    const miScalar keep = u < 0.0f ? 1.0f : std::max(0.0f, 1.0f - 0.5f * u);
    const miScalar add = u < 0.0f ? 0.0f : std::min(1.0f, u);
    const miColor white = foamColor ? *foamColor : BLACK;
    if (color) {
        const miColor light = illumination ? *illumination : BLACK;
        const miColor tinted = *color + std::min(foam, 0.5f) * light * white;
        *color = withAlpha(keep * tinted + add * white, color->a);
    }
    if (mode == OCEAN_FOAM_OPAQUE && opacity)
        *opacity = withAlpha(WHITE - keep * (WHITE - *opacity), opacity->a);
    if (attenuated) *attenuated = withAlpha(*attenuated * keep, attenuated->a);
}

miScalar compute_oceanshader_diffuse(miState* state, miScalar level, const miVector* direction, miScalar,
                                     miScalar strength, miScalar softness, miScalar cutoff,
                                     miScalar fadeRange, const AreaLightRecord* area) {
    if (cutoff > level) return 0.0f;
    miScalar share = strength;
    if (softness != 0.0f) {
        // 1.00001, not 1: keeps the exponent finite when the softness is exactly 1.
        const miScalar exponent = softness / (1.00001f - softness);
        share = std::pow(forwardness(state, *direction, area), exponent) * strength;
    }
    return level < cutoff + fadeRange ? share * (level - cutoff) / fadeRange : share;
}

miScalar compute_oceanshader_specular(miScalar nDotL, miScalar nDotV, const miVector* direction,
                                      miScalar strength, miScalar eccentricity, miScalar reduction,
                                      const miVector* normal, miState* state) {
    const miVector half = normalized(*direction - state->dir);
    const miScalar vh = -dot(half, state->dir);
    const miScalar nh = dot(half, *normal);

    miScalar e2 = eccentricity * eccentricity - 1.0f;
    if (std::abs(e2) < VELA_EPS) e2 = VELA_EPS;
    const miScalar q = 1.0f / e2;

    const miScalar root = (1.0f + q) / (nh * nh + q);
    const miScalar highlight = facetAttenuation(nDotL, nDotV, nh, vh) * root * root * strength;
    return state->type == miRAY_EYE ? highlight * reduction : highlight;
}
