// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaShadingEngine, in declaration order.
struct ShadingEngineParameters {
    miTag surfaceShader;
    miScalar evaluatedScalar; // evaluated only for the shader that is connected to it
    miInteger mode;           // 0: composite; else the surface's colour is passed through
    int i_extraOutputs;
    int n_extraOutputs;
    miColor extraOutputs[1]; // evaluated after the surface, for the passes that they write
};

extern "C" {
/// Shades a hit with the surface shader that is assigned to it, accumulates its pass values to the parent
/// level, and continues the ray through it where it is transparent. False, with a warning, without a base
/// state or a surface shader.
ORCA_EXPORT miBoolean orcaVelaShadingEngine(miColor* result, miState* state, ShadingEngineParameters* record);
/// Needs no object per instance.
ORCA_EXPORT void orcaVelaShadingEngine_init(miState* state, ShadingEngineParameters* record,
                                            miBoolean* required);
ORCA_EXPORT int orcaVelaShadingEngine_version(void);
} // extern "C"
