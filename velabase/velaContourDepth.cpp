// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaParameters.h"
#include "velaContourPen.h"

#include <shader.h>

#include <algorithm>

/// Parameters of velaContourDepth, in declaration order.
struct VelaContourDepthParameters {
    miScalar nearDistance; // from the camera along the path, scene units
    miColor nearColor;     // alpha: opacity
    miScalar nearWidth;    // percent of the picture's width
    miScalar farDistance;
    miColor farColor;
    miScalar farWidth;
};

extern "C" {

ORCA_EXPORT int velaContourDepth_version(void) {
    return 1;
}

/// A line that changes with the distance, evenly between the two that are given.
ORCA_EXPORT miBoolean velaContourDepth(miContour_endpoint* line, void*, void*, miState* state,
                                       VelaContourDepthParameters* record) {
    using P = VelaContourDepthParameters;
    const miScalar nearest = parameterValue(state, record, &P::nearDistance);
    const miScalar farthest = parameterValue(state, record, &P::farDistance);
    const miScalar share =
        farthest > nearest ? std::clamp((line->point.z - nearest) / (farthest - nearest), 0.0f, 1.0f) : 0.0f;
    drawBetween(
        *line, {parameterValue(state, record, &P::nearColor), parameterValue(state, record, &P::nearWidth)},
        {parameterValue(state, record, &P::farColor), parameterValue(state, record, &P::farWidth)}, share);
    return miTRUE;
}

} // extern "C"

#include "declared/velaContourDepth.h"
