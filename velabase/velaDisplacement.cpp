// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaParameters.h"

/// Parameters of velaDisplacement, in declaration order.
struct VelaDisplacementParameters {
    miScalar height; // object space units along the normal; to be connected
    miScalar scale;
    miScalar offset; // added after scaling
};

extern "C" {

ORCA_EXPORT int velaDisplacement_version(void) {
    return 1;
}

/// Adds to the displacement of the shaders before it in a displacement list.
ORCA_EXPORT miBoolean velaDisplacement(miScalar* result, miState* state, VelaDisplacementParameters* record) {
    using P = VelaDisplacementParameters;
    int callType = miSHADER_NONE;
    const bool inList =
        mi_query(miQ_FUNC_CALLTYPE, state, miNULLTAG, &callType) && callType == miSHADER_DISPLACE;
    const miScalar height =
        parameterValue(state, record, &P::height) * parameterValue(state, record, &P::scale) +
        parameterValue(state, record, &P::offset);
    *result = inList ? *result + height : height;
    return miTRUE;
}

} // extern "C"

#include "declared/velaDisplacement.h"
