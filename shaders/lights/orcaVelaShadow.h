// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaShadow, in declaration order.
struct VelaShadowParameters {
    miColor transparency; // transmission of the surface; 1 is clear
    miScalar attenuation; // 0 to 1: fall-off towards grazing angles
    // Scene units inside the object after which `transparency` applies in full; 0: at once.
    miScalar transparencyDepth;
};

extern "C" {
/// Coloured shadow whose transmission depends on angle and depth. True while light reaches the picture or
/// some pass.
/// @param argument not null: called by another shader, which continues the segments
ORCA_EXPORT miBoolean orcaVelaShadow(miColor* result, miState* state, VelaShadowParameters* record,
                                     void* argument);
ORCA_EXPORT int orcaVelaShadow_version(void);
} // extern "C"
