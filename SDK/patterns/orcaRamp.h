// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

inline constexpr int RAMP_MAX_ENTRIES = 50;

/// How the span from an entry to the next is interpolated. Every other value is a step.
enum RampInterpolation : miInteger { RAMP_NONE = 0, RAMP_LINEAR = 1, RAMP_SMOOTH = 2, RAMP_SPLINE = 3 };

/// A curve over a position u, a plain value on the caller's stack: built from a parameter array once per
/// shading call, then looked up.
struct Ramp {
    miInteger isColor;
    miInteger count;                      ///< entries in use, 0 to RAMP_MAX_ENTRIES
    miScalar positions[RAMP_MAX_ENTRIES]; ///< in any order
    union {
        miColor colors[RAMP_MAX_ENTRIES];
        miScalar scalars[RAMP_MAX_ENTRIES];
    };
    miInteger interpolation[RAMP_MAX_ENTRIES];
};

/// Elements of the parameter arrays that ramps are built from.
struct RampColorEntry {
    miScalar position;
    miColor value;
    miInteger interpolation;
};
static_assert(sizeof(RampColorEntry) == 24);
struct RampScalarEntry {
    miScalar position;
    miScalar value;
    miInteger interpolation;
};
static_assert(sizeof(RampScalarEntry) == 12);

extern "C" {

/// Fills a ramp from an array parameter (start index, count, elements) of the running shader, each field
/// through the evaluation rule. At most 50 entries are read; a negative count reads 50 as well. A null array
/// gives an empty ramp.
ORCA_EXPORT void ramp_constructor(Ramp* ramp, miState* state, void* parameterArray, int isColor);
/// Empties the ramp; nothing is freed.
ORCA_EXPORT void ramp_destructor(Ramp* ramp);

/// Value at u: the nearest entry's beyond the ends. 0 for a colour ramp and for an empty one.
ORCA_EXPORT float ramp_get_interp_float(float u, const Ramp* ramp);
/// Red, green and blue at u; alpha is not written unless an entry is copied whole (spline ends). VELA_BLACK
/// for a scalar ramp and for an empty one.
ORCA_EXPORT void ramp_get_interp_color(float u, const Ramp* ramp, miColor* result);

/// Cubic Hermite curve between (p1, y1) and (p2, y2) at u, with slopes from the neighbours (p0, y0) and (p3,
/// y3); where a neighbour is missing (p0 = p1, p3 = p2) one is assumed a span's length away with the end's
/// value.
ORCA_EXPORT float ramp_hermite_interp(float p0, float y0, float p1, float y1, float p2, float y2, float p3,
                                      float y3, float u);

} // extern "C"
