// SPDX-License-Identifier: Apache-2.0
#include "orcaLambertTranslucence.h"

#include "orcaAreaLight.h"
#include "orcaConstants.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>

namespace {

/// 0 to 1: how nearly the light is seen straight through the surface.
float forwardness(miState* state, const miVector& direction, const AreaLightRecord* area) {
    const float cosine =
        area ? arealight_lambertian_reflect(state, &state->dir, area) : dot(direction, state->dir);
    if (cosine < -1.0f) return 0.0f;
    if (cosine > 1.0f) return 1.0f;
    return (cosine + 1.0f) * 0.5f;
}

} // namespace

float compute_lambert_translucence(miState* state, const miVector* direction, const AreaLightRecord* area,
                                   float nDotL, float translucence, float forward, float wrap) {
    const float reach = wrap * TRANSLUCENCE_ANGLE_FAC;
    if (reach >= nDotL) return 0.0f;

    float amount = translucence;
    if (forward != 0.0f) {
        // 1.00001, not 1: keeps the exponent finite when forward is exactly 1.
        const float exponent = forward / (1.00001f - forward);
        amount = translucence * std::pow(forwardness(state, *direction, area), exponent);
    }
    const float fade = std::min(1.0f, TRANSLUCENCE_FADE - reach);
    return reach + fade > nDotL ? amount * (nDotL - reach) / fade : amount;
}
