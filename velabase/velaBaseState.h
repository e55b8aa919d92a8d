// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of velaBaseState, in declaration order.
struct BaseStateParameters {
    miScalar transparencyThreshold; // rays continue through hits that transmit more than 1 - this
    miScalar throughputCutoff; // paths of less throughput trace no shadows and gather nothing; negative: off
    miScalar throughputUpper;  // paths of less throughput take fewer rays
    miBoolean filterTextures;
    miScalar filterBase;      // radians; 0: the angle of one pixel
    miScalar fixedFilterSize; // scene units; used while filtering is off
    miInteger renderMode;     // see bc_construct
    miInteger maxTraceDepth;  // shadows are traced below this level; 0: at every level that can be reached
    miBoolean continueRay;
    miBoolean depthOutput;
    miBoolean additivePasses; // layers add up to the picture; see VelabaseState
};

extern "C" {
/// Makes and resets the render state that the library's shaders share. First in the options' list of state
/// shaders.
ORCA_EXPORT miBoolean velaBaseState(void* result, miState* state, BaseStateParameters* record,
                                    miShader_state_arg* argument);
/// After the last render state: releases the threads' arenas.
ORCA_EXPORT void velaBaseState_exit(miState* state, BaseStateParameters* record);
ORCA_EXPORT int velaBaseState_version(void);
} // extern "C"
