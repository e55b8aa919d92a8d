// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Ramps of a light that multiply its colour or intensity; empty ones change nothing.

#include "orcaColor.h"
#include "orcaRamp.h"

/// @param parameterArray the start index of the array parameter
/// Alpha is 1.
[[nodiscard]] inline miColor colorOnCurve(miState* state, int* parameterArray, miScalar position) {
    Ramp ramp;
    ramp_constructor(&ramp, state, parameterArray, 1);
    miColor color = WHITE;
    if (ramp.count > 0) ramp_get_interp_color(position, &ramp, &color);
    ramp_destructor(&ramp);
    return withAlpha(color, 1.0f);
}

/// @param parameterArray the start index of the array parameter
[[nodiscard]] inline miScalar scalarOnCurve(miState* state, int* parameterArray, miScalar position) {
    Ramp ramp;
    ramp_constructor(&ramp, state, parameterArray, 0);
    const miScalar value = ramp.count > 0 ? ramp_get_interp_float(position, &ramp) : 1.0f;
    ramp_destructor(&ramp);
    return value;
}
