// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaFractalNoise.h"
#include "orcaParameters.h"

#include <algorithm>

/// Parameters of velaSolidNoise, in declaration order.
struct VelaSolidNoiseParameters {
    miColor low, high;  // colours of the noise's ends
    miScalar frequency; // cells per scene unit
    miInteger octaves;
    miScalar lacunarity; // frequency of an octave over that of the one before
    miScalar gain;       // strength of an octave over that of the one before
    miScalar contrast;   // about the middle
    miInteger space;     // 0 object, 1 world
};

namespace {

using P = VelaSolidNoiseParameters;

} // namespace

extern "C" {

ORCA_EXPORT int velaSolidNoise_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean velaSolidNoise(miColor* result, miState* state, VelaSolidNoiseParameters* record) {
    constexpr miInteger worldSpace = 1;
    miVector point = state->point;
    if (parameterValue(state, record, &P::space) == worldSpace) mi_point_to_world(state, &point, &point);
    else mi_point_to_object(state, &point, &point);
    const float noise = fractalNoise(
        point, parameterValue(state, record, &P::frequency), parameterValue(state, record, &P::octaves),
        parameterValue(state, record, &P::lacunarity), parameterValue(state, record, &P::gain));
    const float share =
        std::clamp(0.5f + 0.5f * noise * parameterValue(state, record, &P::contrast), 0.0f, 1.0f);
    const miColor low = parameterValue(state, record, &P::low);
    const miColor high = parameterValue(state, record, &P::high);
    *result = {low.r + share * (high.r - low.r), low.g + share * (high.g - low.g),
               low.b + share * (high.b - low.b), low.a + share * (high.a - low.a)};
    return miTRUE;
}

} // extern "C"

#include "declared/velaSolidNoise.h"
