// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaParameters.h"
#include "velaContourPen.h"
#include "velaIncomingLight.h"

#include <shader.h>

#include <algorithm>

/// Parameters of velaContourLight, in declaration order.
struct VelaContourLightParameters {
    miScalar fullLight;  // irradiance (luminance) from which on a point is lit
    miColor litColor;    // alpha: opacity
    miScalar litWidth;   // percent of the picture's width
    miColor shadedColor; // in no light, as the next
    miScalar shadedWidth;
};

namespace {

/// Luminance of what arrives at the hit from its lights, after shadows.
miScalar irradiance(miState* state) {
    miScalar sum = 0.0f;
    wantAllLights(state); // one line is drawn of what one sample sees
    eachIncomingLight(state, [&](const miColor& light) { sum += luminance(light); });
    return sum;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaContourLight_version(void) {
    return 1;
}

/// A line that changes with the light that arrives: drawn with a heavier pen in the shade.
ORCA_EXPORT miBoolean velaContourLight(miContour_endpoint* line, void*, void*, miState* state,
                                       VelaContourLightParameters* record) {
    using P = VelaContourLightParameters;
    const miScalar full = parameterValue(state, record, &P::fullLight);
    const miScalar lit = full > 0.0f ? std::min(irradiance(state) / full, 1.0f) : 1.0f;
    drawBetween(
        *line,
        {parameterValue(state, record, &P::shadedColor), parameterValue(state, record, &P::shadedWidth)},
        {parameterValue(state, record, &P::litColor), parameterValue(state, record, &P::litWidth)}, lit);
    return miTRUE;
}

} // extern "C"

#include "declared/velaContourLight.h"
