// SPDX-License-Identifier: Apache-2.0
// A texture that asks the framework for the ocean's waves.
#include <orcaColor.h>
#include <orcaOceanWaves.h>
#include <orcaParameters.h>

/// Parameters of consumerRipples, in declaration order.
struct RipplesParameters {
    miColor color;
    miScalar wavelength; // of the longest ripples, world units
};

extern "C" {

DLLEXPORT int consumerRipples_version(void) {
    return 1;
}

DLLEXPORT miBoolean consumerRipples(miColor* result, miState* state, RipplesParameters* record) {
    miVector pointInWorld;
    mi_point_to_world(state, &pointInWorld, &state->point);
    const miScalar longest = parameterValue(state, record, &RipplesParameters::wavelength);
    const miScalar height = ocean_water_turbulence(pointInWorld.x, pointInWorld.z, 0.0f, longest,
                                                   0.5f * longest, 0, nullptr, nullptr);
    const miScalar brightness =
        0.75f + 0.25f * height / (height < 0.0f ? longest - height : longest + height);
    *result = parameterValue(state, record, &RipplesParameters::color) * brightness;
    result->a = 1.0f;
    return miTRUE;
}

} // extern "C"

#include "declared/consumerRipples.h"
