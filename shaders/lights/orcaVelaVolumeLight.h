// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaRamp.h"

#include <shader.h>

/// Parameters of orcaVelaVolumeLight, in declaration order.
struct VolumeLightParameters {
    miScalar lightRadius; // scene units; 0: hard shadows
    miInteger decayRate;  // exponent of the fall-off with the distance from where light begins: 0 to 3
    miBoolean useDepthMapShadows;
    miBoolean emitDiffuse;
    miBoolean emitSpecular;
    miColor color;
    miScalar intensity;
    miBoolean useRayTraceShadows;
    miColor shadowColor;       // light in full shadow
    miInteger shadowRays;      // of the first set of a soft shadow; 0: no ray-traced shadows
    miInteger rayDepthLimit;   // trace level from which on no shadows are traced
    miInteger units;           // LightUnits: none, lumen or candela
    miScalar colorTemperature; // kelvin; 0: the colour alone
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
