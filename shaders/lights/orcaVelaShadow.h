// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaShadow, in declaration order.
struct VelaShadowParameters {
    miColor transparency; // transmission of the surface; 1 is clear
    miScalar attenuation; // 0 to 1: how much it falls off toward grazing angles
    miScalar
        transparencyDepth; // scene units inside the object after which the transmission is full; 0: at once
};

extern "C" {
/// Lets coloured, angle-dependent and depth-dependent light through. True while the picture or some pass sees
/// light.
/// @param argument not null: called by another shader, which walks the segments itself
ORCA_EXPORT miBoolean orcaVelaShadow(miColor* result, miState* state, VelaShadowParameters* record,
                                     void* argument);
ORCA_EXPORT int orcaVelaShadow_version(void);
} // extern "C"
