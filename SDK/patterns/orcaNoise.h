// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Lattice noise. Value noise blends a fixed table of random values by quadratic B-splines (periodic with
/// period 1 in every coordinate, 32 cells a unit); gradient noise is Perlin's, on an integer lattice (K.
/// Perlin, "An Image Synthesizer", 1985). Coordinates beyond 1e9 act as 0.

#include "orcaExport.h"

#include <shader.h>

inline constexpr int NOISE_TABLE_SIZE = 65535;

extern "C" {

/// Random values spread evenly over (-1, 1).
extern ORCA_EXPORT const float NoiseTable[NOISE_TABLE_SIZE];
/// A permutation of 0 to 255.
extern ORCA_EXPORT const unsigned char PermutationArray[256];
/// Random unit vectors, NOISE_TABLE_SIZE of them; null until noise_gradient_init has run.
extern ORCA_EXPORT miVector* gradientNoiseTable;

/// Table value for any index.
ORCA_EXPORT float noise_table_scalar(int i);
/// Three table values in a row from any index.
ORCA_EXPORT miVector noise_table_vector(int i);

/// Next value in [0, 1] of a 16-bit congruential generator; the seed belongs to the caller.
ORCA_EXPORT float noise_frand(miUint* seed);
ORCA_EXPORT double noise_drand(miUint* seed);

/// Value noise in (-1, 1), but for the one-dimensional one, which has half the amplitude and peculiarities of
/// its own.
ORCA_EXPORT float noise_scalar_1d(double x);
ORCA_EXPORT float noise_scalar_2d(double x, double y);
ORCA_EXPORT float noise_scalar_3d(double x, double y, double z);
/// Changes over `time` (period 1), in `period` steps, 60000 at most.
ORCA_EXPORT float noise_scalar_4d(int period, double x, double y, double z, double time);
/// Slopes along x and y, per lattice cell, and the value of noise_scalar_2d.
ORCA_EXPORT miVector noise_vector_2d(double x, double y);

/// Builds gradientNoiseTable, once per process; from any thread.
ORCA_EXPORT void noise_gradient_init(miState* state);
/// Gradient noise; 0 on lattice points and before noise_gradient_init.
ORCA_EXPORT float noise_gradient_3d(float x, float y, float z);

} // extern "C"
