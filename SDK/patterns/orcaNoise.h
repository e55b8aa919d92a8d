// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Value noise: a fixed table of random values blended by quadratic B-splines, periodic with period 1 in
/// every coordinate, 32 cells a unit. Coordinates beyond 1e9 act as 0.

#include "orcaExport.h"
#include "orcaGradientNoise.h"
#include "orcaNoiseTable.h"

#include <shader.h>

extern "C" {

/// Table value for any index.
ORCA_EXPORT float noise_table_scalar(int i);
/// Three table values in a row from any index.
ORCA_EXPORT miVector noise_table_vector(int i);

/// Next value in [0, 1] of a 16-bit congruential generator; the seed belongs to the caller.
ORCA_EXPORT float noise_frand(miUint* seed);
ORCA_EXPORT double noise_drand(miUint* seed);

/// Value noise in (-1, 1), except noise_scalar_1d, which has half the amplitude and whose outer cells differ.
ORCA_EXPORT float noise_scalar_1d(double x);
ORCA_EXPORT float noise_scalar_2d(double x, double y);
ORCA_EXPORT float noise_scalar_3d(double x, double y, double z);
/// Changes over `time` (period 1), in `period` steps, 60000 at most.
ORCA_EXPORT float noise_scalar_4d(int period, double x, double y, double z, double time);
/// Slopes along x and y, per lattice cell, and the value of noise_scalar_2d.
ORCA_EXPORT miVector noise_vector_2d(double x, double y);

} // extern "C"
