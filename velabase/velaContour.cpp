// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaParameters.h"

#include <shader.h>

/// Parameters of velaContour, in declaration order.
struct VelaContourParameters {
    miColor color;  // alpha: opacity
    miScalar width; // percent of the picture's width
};

extern "C" {

ORCA_EXPORT int velaContour_version(void) {
    return 1;
}

/// A line of one width.
ORCA_EXPORT miBoolean velaContour(miContour_endpoint* line, void*, void*, miState* state,
                                  VelaContourParameters* record) {
    line->color = parameterValue(state, record, &VelaContourParameters::color);
    line->width = parameterValue(state, record, &VelaContourParameters::width);
    return miTRUE;
}

} // extern "C"

#include "declared/velaContour.h"
