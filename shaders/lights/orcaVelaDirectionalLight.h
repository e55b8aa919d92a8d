// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaDirectionalLight, in declaration order.
struct DirectionalLightParameters {
    miBoolean useLightPosition; // light only points in front of the light's position
    miScalar lightAngle;        // degrees; 0: hard shadows
    miBoolean useDepthMapShadows;
    miBoolean emitDiffuse;
    miBoolean emitSpecular;
    miColor color;
    miScalar intensity;
    miBoolean useRayTraceShadows;
    miColor shadowColor;       // light in full shadow
    miUint shadowRays;         // of the first set of a soft shadow; 0: no ray-traced shadows
    miInteger rayDepthLimit;   // trace level from which on no shadows are traced
    miInteger units;           // LightUnits: none or lux
    miScalar colorTemperature; // kelvin; 0: the colour alone
};

extern "C" {
/// Parallel light, with shadows. Returns false behind the light's position with useLightPosition.
ORCA_EXPORT miBoolean orcaVelaDirectionalLight(miColor* result, miState* state,
                                               DirectionalLightParameters* record);
ORCA_EXPORT int orcaVelaDirectionalLight_version(void);
} // extern "C"
