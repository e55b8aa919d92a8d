// SPDX-License-Identifier: Apache-2.0
// A light that takes part in the passes and casts hard shadows.
#include <orcaColor.h>
#include <orcaLightProtocol.h>
#include <orcaParameters.h>
#include <orcaPassRecords.h>
#include <orcaVelaState.h>

/// Parameters of consumerLamp, in declaration order.
struct LampParameters {
    miColor color;
};

extern "C" {

DLLEXPORT int consumerLamp_version(void) {
    return 1;
}

DLLEXPORT miBoolean consumerLamp(miColor* result, miState* state, LampParameters* record) {
    VelabaseState* const vela = velabaseState(state);
    if (!vela) return miFALSE;
    const PassRecords passes(state, *vela);
    setupLightContributions(passes.count, passes.records, state);
    const miColor light = parameterValue(state, record, &LampParameters::color);
    LightData& data = vela->lightData;
    data.emitDiffuse = data.emitSpecular = miTRUE;
    data.unshadowedColor = light;
    miColor transmission = WHITE;
    traceShadow(passes.count, passes.records, &transmission, &light, &BLACK, false, state);
    *result = light * transmission;
    data.shadowFraction = 1.0f - luminance(transmission);
    return miTRUE;
}

} // extern "C"

#include "declared/consumerLamp.h"
