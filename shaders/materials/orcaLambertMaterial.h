// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaSurfaceParameters.h"

#include "orcaSurfaceShaderReturnType.h"

/// Parameters of orcaVelaLambert.
struct LambertParameters : SurfaceParameters {};

extern "C" {
int orcaVelaLambert_version(void);
void orcaVelaLambert_init(miState* state, LambertParameters* record, miBoolean* instanceInitRequired);
void orcaVelaLambert_exit(miState* state, LambertParameters* record);
/// The plain diffuse material.
miBoolean orcaVelaLambert(SurfaceShaderReturnType* result, miState* state, LambertParameters* record);
} // extern "C"
