// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of velaBaseState, in declaration order.
struct BaseStateParameters {
    miScalar transparencyThreshold; // hits that let through more than 1 - this are continued
    miScalar throughputCutoff;      // lighter paths trace no shadows and gather nothing; negative: none are
    miScalar throughputUpper;       // lighter paths take fewer rays
    miBoolean filterTextures;
    miScalar filterBase;      // radians; 0: the angle of one pixel
    miScalar fixedFilterSize; // scene units; used while filtering is off
    miInteger renderMode;     // see bc_construct
    miInteger maxTraceDepth;  // shadows are traced below this level; 0: at every level that can be reached
    miBoolean continueRay;
    miBoolean depthOutput;
};

extern "C" {
/// Makes and resets the render state that the library's shaders share. First in the options' list of state
/// shaders.
ORCA_EXPORT miBoolean velaBaseState(void* result, miState* state, BaseStateParameters* record,
                                    miShader_state_arg* argument);
/// After the last render state: gives the threads' arenas back.
ORCA_EXPORT void velaBaseState_exit(miState* state, BaseStateParameters* record);
ORCA_EXPORT int velaBaseState_version(void);
} // extern "C"
