// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaPassRecords.h"
#include "orcaVelaState.h"

#include <shader.h>

#include <algorithm>
#include <cmath>

/// Parameters of velaExposure, in declaration order.
struct VelaExposureParameters {
    miScalar exposure;    // stops; each doubles the picture
    miScalar fStop;       // with the next two above 0: the exposure of a camera with these settings ...
    miScalar shutterTime; // seconds
    miScalar iso;         // ... of light in candela per square metre
    miScalar clamp;       // largest channel that a sample may have, after the exposure; 0: any
};

namespace {

using P = VelaExposureParameters;

/// Value of the picture for a luminance of 1 cd/m2, such that a camera's sensor saturates at 1 (S. Lagarde,
/// C. de Rousiers, "Moving Frostbite to Physically Based Rendering", 2014, from ISO 12232).
float cameraScale(float fStop, float shutterTime, float iso) {
    const float exposureValue = std::log2(fStop * fStop / shutterTime * 100.0f / iso);
    return 1.0f / (1.2f * std::exp2(exposureValue));
}

float exposureScale(miState* state, P* record) {
    const float scale = std::exp2(parameterValue(state, record, &P::exposure));
    const float fStop = parameterValue(state, record, &P::fStop);
    const float shutterTime = parameterValue(state, record, &P::shutterTime);
    const float iso = parameterValue(state, record, &P::iso);
    const bool hasCamera = fStop > 0.0f && shutterTime > 0.0f && iso > 0.0f;
    return hasCamera ? scale * cameraScale(fStop, shutterTime, iso) : scale;
}

void scaleLight(miColor& color, float scale) {
    color = withAlpha(color * scale, color.a);
}

/// The sample in all passes that hold light, and what it shows of environment and lamps.
void scalePasses(miState* state, float scale) {
    if (VelabaseState* const vela = velabaseState(state)) {
        scaleLight(vela->background.environment, scale);
        scaleLight(vela->background.lamps, scale);
    }
    const PassRecords passes(state);
    if (!passes) return;
    for (const PassType& type : PASS_TYPES) {
        if (!growsWithLight(type.id)) continue;
        for (FrameBufferInfo& record : passes.of(type.id))
            scaleLight(record.levelSlots[0].childResult, scale);
    }
}

} // namespace

extern "C" {

ORCA_EXPORT int velaExposure_version(void) {
    return 1;
}

/// Scales the light of a sample, in the picture and its passes alike.
ORCA_EXPORT miBoolean velaExposure(miColor* result, miState* state, VelaExposureParameters* record) {
    const miBoolean delivered = mi_trace_eye(result, state, &state->org, &state->dir);
    if (!delivered) return miFALSE;
    float scale = exposureScale(state, record);
    const float most = parameterValue(state, record, &P::clamp);
    const float brightest = scale * largestChannel(*result);
    if (most > 0.0f && brightest > most && std::isfinite(brightest)) scale *= most / brightest;
    if (scale == 1.0f) return miTRUE;
    scaleLight(*result, scale);
    scalePasses(state, scale);
    return miTRUE;
}

} // extern "C"

#include "declared/velaExposure.h"
