// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaExport.h"
#include "orcaNoise.h"
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

/// Octaves of value noise, normalised to (-1, 1) (B. Mandelbrot's fractional Brownian motion, as in D. Ebert
/// et al., "Texturing and Modeling", 1994).
float fractalNoise(const miVector& p, float frequency, int octaves, float lacunarity, float gain) {
    double scale = static_cast<double>(frequency) / VELA_CUBE_SIDE;
    float strength = 1.0f;
    float sum = 0.0f;
    float total = 0.0f;
    for (int i = 0; i < octaves; ++i) {
        sum += strength * noise_scalar_3d(p.x * scale, p.y * scale, p.z * scale);
        total += strength;
        scale *= static_cast<double>(lacunarity);
        strength *= gain;
    }
    return total > 0.0f ? sum / total : 0.0f;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaSolidNoise_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean velaSolidNoise(miColor* result, miState* state, VelaSolidNoiseParameters* record) {
    constexpr int mostOctaves = 16;
    constexpr miInteger worldSpace = 1;
    miVector point = state->point;
    if (parameterValue(state, record, &P::space) == worldSpace) mi_point_to_world(state, &point, &point);
    else mi_point_to_object(state, &point, &point);
    const float noise =
        fractalNoise(point, parameterValue(state, record, &P::frequency),
                     std::clamp(parameterValue(state, record, &P::octaves), 1, mostOctaves),
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
