// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaParameters.h"

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
    line->color = (1.0f - share) * parameterValue(state, record, &P::nearColor) +
                  share * parameterValue(state, record, &P::farColor);
    line->width = (1.0f - share) * parameterValue(state, record, &P::nearWidth) +
                  share * parameterValue(state, record, &P::farWidth);
    return miTRUE;
}

} // extern "C"

#include "declared/velaContourDepth.h"
