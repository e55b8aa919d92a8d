// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaLightParameters.h"
#include "orcaRamp.h"

#include <shader.h>

/// Parameters of orcaVelaVolumeLight, in declaration order.
struct VolumeLightParameters : DecayParameters, LightParameters, LightUnitParameters {
    miInteger shape;           // VolumeKind
    miInteger volumeDirection; // VolumeDirection
    miScalar arc;              // degrees
    miScalar coneEndRadius;    // of a cone, at its upper end
    miBoolean emitAmbient;     // surfaces receive the light as ambient light, too
    int i_colorCurve;          // over the light's path through the shape, 0 to 1
    int n_colorCurve;
    RampColorEntry colorCurve[1]; // multiplies the colour
};

extern "C" {
/// Light within a shape. False outside of it.
ORCA_EXPORT miBoolean orcaVelaVolumeLight(miColor* result, miState* state, VolumeLightParameters* record);
ORCA_EXPORT int orcaVelaVolumeLight_version(void);
} // extern "C"
