// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Constant random data, the same in every build.

#include "orcaExport.h"

inline constexpr int NOISE_TABLE_SIZE = 65535;

extern "C" {

/// Random values spread evenly over (-1, 1).
extern ORCA_EXPORT const float NoiseTable[NOISE_TABLE_SIZE];
/// A permutation of 0 to 255.
extern ORCA_EXPORT const unsigned char PermutationArray[256];

} // extern "C"
