// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Gradient noise on an integer lattice (K. Perlin, "An Image Synthesizer", 1985). Coordinates beyond 1e9 act
/// as 0.

#include "orcaExport.h"

#include <shader.h>

extern "C" {

/// Random unit vectors, NOISE_TABLE_SIZE of them; null until noise_gradient_init has run.
extern ORCA_EXPORT miVector* gradientNoiseTable;

/// Builds gradientNoiseTable, once per process; from any thread.
ORCA_EXPORT void noise_gradient_init(miState* state);
/// Gradient noise; 0 on lattice points and before noise_gradient_init.
ORCA_EXPORT float noise_gradient_3d(float x, float y, float z);

} // extern "C"
