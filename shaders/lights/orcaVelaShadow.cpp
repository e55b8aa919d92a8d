// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaShadow.h"

#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaGuards.h"
#include "orcaLightProtocol.h"
#include "orcaParameters.h"
#include "orcaPassRecords.h"
#include "orcaVector.h"
#include "orcaVelaState.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

bool inSegments(const miState* state) {
    return state->options->shadow == miSHADOW_SEGMENTS;
}

miBoolean someLight(const miColor& light) {
    return !allBelow(light, VELA_EPS);
}

/// Light from behind this occluder; only when the renderer called the shader.
void continueSegment(miColor* result, miState* state, miTag volume) {
    state->refraction_volume = volume;
    mi_trace_shadow_seg(result, state);
}

/// Transmission of a path shorter than the full depth, 1 at most: thin parts transmit more light.
miColor thinned(const miColor& transmission, float share) {
    miColor c = transmission;
    if (share < 1.0f) c = c * share + WHITE * (1.0f - share);
    return {std::min(c.r, 1.0f), std::min(c.g, 1.0f), std::min(c.b, 1.0f), transmission.a};
}

miColor transmissionAt(miState* state, VelaShadowParameters* record) {
    using P = VelaShadowParameters;
    miColor c = parameterValue(state, record, &P::transparency);
    if (!inSegments(state)) state->dot_nd = dot(state->normal, state->dir);
    const float attenuation = parameterValue(state, record, &P::attenuation);
    const float grazing = std::max(0.0f, 1.0f - (1.0f - std::abs(state->dot_nd)) * attenuation);
    c = withAlpha(c * grazing, c.a);
    if (inSegments(state)) {
        const float depth = parameterValue(state, record, &P::transparencyDepth);
        const bool leavesObject = state->dot_nd < 0.0f;
        if (leavesObject && depth != 0.0f) c = thinned(c, static_cast<float>(state->dist) / depth);
    }
    return c;
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaShadow_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaShadow(miColor* result, miState* state, VelaShadowParameters* record,
                                     void* argument) {
    VelabaseState* const vela = velabaseState(state);
    const PassRecords passes(state);
    const bool walksSegments = !argument && inSegments(state);
    if (state->dist == 0.0) { // no hit point
        if (walksSegments) continueSegment(result, state, miNULLTAG);
        return someLight(*result);
    }

    miColor c;
    {
        std::optional<Restored<FilterFootprint>> sizes;
        if (vela) {
            constexpr miVector sharp{1e-8f, 1e-8f, 0.0f}; // textures of a shadow are not blurred
            sizes.emplace(vela->footprint);
            vela->footprint = {sharp, sharp};
        }
        c = transmissionAt(state, record);
    }

    if (!someLight(c)) {
        *result = VELA_BLACK;
        return applyShadowTransparencyToFrameBuffers(passes.count, passes.records, &c, state);
    }
    if (walksSegments) continueSegment(result, state, state->volume);
    *result = withAlpha(*result * c, result->a);
    const bool passesSeeLight =
        applyShadowTransparencyToFrameBuffers(passes.count, passes.records, &c, state);
    return someLight(*result) || passesSeeLight;
}

} // extern "C"

#include "declared/orcaVelaShadow.h"
