// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaShadingEngine, in declaration order.
struct ShadingEngineParameters {
    miTag surfaceShader;
    miScalar evaluatedScalar; // for what it is connected to
    miInteger mode;           // 0: composite; else the surface's colour passes through
    int i_extraOutputs;
    int n_extraOutputs;
    miColor extraOutputs[1]; // evaluated after the surface, for what they write
};

extern "C" {
/// Shades a hit with the surface shader that is assigned to it, hands its pass values up, and goes on through
/// it where it is transparent.
ORCA_EXPORT miBoolean orcaVelaShadingEngine(miColor* result, miState* state, ShadingEngineParameters* record);
/// Needs no object per instance.
ORCA_EXPORT void orcaVelaShadingEngine_init(miState* state, ShadingEngineParameters* record,
                                            miBoolean* required);
ORCA_EXPORT int orcaVelaShadingEngine_version(void);
} // extern "C"
