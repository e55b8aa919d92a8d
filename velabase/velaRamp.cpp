// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaRamp.h"

#include <algorithm>
#include <cmath>
#include <numbers>

/// Parameters of velaRamp, in declaration order.
struct VelaRampParameters {
    miInteger type;      // one of RampPattern
    miVector coordinate; // connected: where to look; else the surface's first texture space
    int i_entries;
    int n_entries;
    RampColorEntry entries[1];
};

namespace {

using P = VelaRampParameters;

/// How two texture coordinates become the position on the ramp.
enum RampPattern : miInteger { AlongV = 0, AlongU = 1, Diagonal = 2, Radial = 3, Circular = 4, Box = 5 };

constexpr float pi = std::numbers::pi_v<float>;

float positionOnRamp(miInteger pattern, float u, float v) {
    const float fromCentreU = u - 0.5f;
    const float fromCentreV = v - 0.5f;
    switch (pattern) {
    case AlongU: return u;
    case Diagonal: return 0.5f * (u + v);
    case Radial: return std::atan2(fromCentreV, fromCentreU) / (2.0f * pi) + 0.5f;
    case Circular: return std::min(1.0f, 2.0f * std::hypot(fromCentreU, fromCentreV));
    case Box: return std::min(1.0f, 2.0f * std::max(std::abs(fromCentreU), std::abs(fromCentreV)));
    default: return v;
    }
}

/// Patterns repeat with every unit of texture space.
float wrapped(float c) {
    return c - std::floor(c);
}

} // namespace

extern "C" {

ORCA_EXPORT int velaRamp_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean velaRamp(miColor* result, miState* state, VelaRampParameters* record) {
    const miVector at = isConnected(state, record, &P::coordinate)
                            ? parameterValue(state, record, &P::coordinate)
                        : state->tex_list ? state->tex_list[0]
                                          : miVector{};
    const float position =
        positionOnRamp(parameterValue(state, record, &P::type), wrapped(at.x), wrapped(at.y));
    Ramp ramp;
    ramp_constructor(&ramp, state, &record->i_entries, 1);
    *result = {0.0f, 0.0f, 0.0f, 1.0f};
    ramp_get_interp_color(position, &ramp, result);
    ramp_destructor(&ramp);
    return miTRUE;
}

} // extern "C"

#include "declared/velaRamp.h"
