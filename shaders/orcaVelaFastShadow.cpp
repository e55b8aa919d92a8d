// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaExport.h"
#include "orcaLightProtocol.h"
#include "orcaPassRecords.h"

extern "C" {

ORCA_EXPORT int orcaVelaFastShadow_version(void) {
    return 1;
}

/// Blocks all light, except in passes that exclude the occluder. True while some pass sees light.
ORCA_EXPORT miBoolean orcaVelaFastShadow(miColor* result, miState* state) {
    const PassRecords passes(state);
    const bool passesSeeLight =
        applyShadowTransparencyToFrameBuffers(passes.count, passes.records, &BLACK, state);
    *result = BLACK;
    return passesSeeLight;
}

} // extern "C"
