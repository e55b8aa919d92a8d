// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What every light shader begins and ends with, and the shadow of a light whose samples the renderer
/// distributes.

#include "orcaColor.h"
#include "orcaLightProtocol.h"
#include "orcaParameters.h"
#include "orcaPassRecords.h"
#include "orcaUtilities.h"
#include "orcaVelaState.h"

#include <algorithm>
#include <string>

/// Resets the light-colour slots in calls other than lighting: no fog, full transmission, no glow.
void clearLightColors(VelabaseState& vela);
/// Ends such a call: the lamp itself is seen.
inline miBoolean showLamp(miColor& result, VelabaseState& vela) {
    result.a = 1.0f;
    clearLightColors(vela);
    return miTRUE;
}

/// Runs a light with the thread's record and the passes that the light contributes to. False without the base
/// state.
/// @param name of the shader in messages
/// @param body miBoolean (VelabaseState&, const PassRecords&)
template <class Body>
miBoolean asLight(miState* state, const char* name, const Body& body) {
    VelabaseState* const vela = velabaseState(state);
    if (!vela) {
        orcaWarning(std::string(name) + "(): Internal state error.");
        return miFALSE;
    }
    const PassRecords passes(state, *vela);
    setupLightContributions(passes.count, passes.records, state);
    return body(*vela, passes);
}

/// Weight of the point being shaded, which decides how many shadow rays it takes.
[[nodiscard]] inline miScalar importance(const VelabaseState& vela) {
    return largestChannel(vela.throughput);
}

/// Multiplies a light's colour by the transmission of its shadow and stores the share removed. `light` is
/// false when the shadow ray was fully blocked.
void applyShadow(miColor& color, LightData& data, bool light, const miColor& transmission,
                 const miColor& shadowColor);

/// Fills what materials read of a light that is not ambient, but its colours.
template <class P>
void describeLight(miState* state, P* record, LightData& data) {
    data.isAmbient = 0;
    data.reserved0 = 0;
    data.reserved1 = 0;
    if constexpr (requires { record->emitDiffuse; }) {
        data.emitDiffuse = parameterValue(state, record, &P::emitDiffuse);
        data.emitSpecular = parameterValue(state, record, &P::emitSpecular);
    }
}

/// True where a light without depth maps traces shadow rays, by its parameters and the state.
template <class P>
[[nodiscard]] bool tracesShadows(miState* state, P* record, const VelabaseState& vela) {
    if (importance(vela) <= vela.throughputCutoff || vela.lightData.skipShadows) return false;
    if (state->parent && state->parent->type == miRAY_SHADOW) return false;
    return state->options->trace && parameterValue(state, record, &P::useRayTraceShadows) &&
           traceLevel(state) <
               std::min<int>(parameterValue(state, record, &P::rayDepthLimit), vela.maxTraceDepth);
}

/// Ends a call for one of a light's samples: one shadow ray along the state, and what materials read of the
/// light.
/// @param result in: the light unshadowed; out: after shadows
/// @param weight of the sample, over the radiance in its direction; scales the shadow colour too
template <class P>
miBoolean deliverSample(miColor& result, miState* state, P* record, VelabaseState& vela,
                        const PassRecords& passes, miScalar weight) {
    LightData& data = vela.lightData;
    data.shadowFraction = 0.0f;
    data.unshadowedColor = result;
    if (!isBlack(result) && tracesShadows(state, record, vela)) {
        const miColor light = result;
        const miColor full = parameterValue(state, record, &P::shadowColor);
        const miColor shadowColor = withAlpha(full * weight, full.a);
        miColor transmission = WHITE;
        const bool lit =
            traceShadow(passes.count, passes.records, &transmission, &light, &shadowColor, false, state);
        applyShadow(result, data, lit, transmission, shadowColor);
    } else {
        setLightIrradiance(passes.count, passes.records, &result);
        state->volume = miNULLTAG; // as for all lights, only a traced shadow has the light cross volumes
    }
    describeLight(state, record, data);
    return miTRUE;
}
