// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaFastShadow.h"

#include "orcaConstants.h"
#include "orcaLightProtocol.h"
#include "orcaPassRecords.h"

extern "C" {

ORCA_EXPORT int orcaVelaFastShadow_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaFastShadow(miColor* result, miState* state) {
    const PassRecords passes(state);
    const bool passesSeeLight =
        applyShadowTransparencyToFrameBuffers(passes.count, passes.records, &BLACK, state);
    *result = BLACK;
    return passesSeeLight;
}

} // extern "C"

#include "declared/orcaVelaFastShadow.h"
