// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaDefaultLight, in declaration order.
struct DefaultLightParameters {
    miScalar lightAngle; // degrees; 0: hard shadows
    miBoolean useDepthMapShadows;
    miBoolean emitDiffuse;
    miBoolean emitSpecular;
    miColor color;
    miScalar intensity;
    miBoolean useRayTraceShadows;
    miColor shadowColor;       // light in full shadow
    miInteger shadowRays;      // of the first set of a soft shadow; 0: no ray-traced shadows
    miInteger rayDepthLimit;   // trace level from which on no shadows are traced
    miInteger units;           // LightUnits: none or lux
    miScalar colorTemperature; // kelvin; 0: the colour alone
};

extern "C" {
/// Parallel light along the camera's view. The light statement makes it directional; its direction is not
/// used.
ORCA_EXPORT miBoolean orcaVelaDefaultLight(miColor* result, miState* state, DefaultLightParameters* record);
ORCA_EXPORT int orcaVelaDefaultLight_version(void);
} // extern "C"
