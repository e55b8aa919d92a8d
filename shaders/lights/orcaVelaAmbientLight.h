// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaAmbientLight, in declaration order.
struct AmbientLightParameters {
    miScalar lightRadius; // scene units; 0: hard shadows
    miBoolean useDepthMapShadows;
    miColor color;
    miScalar intensity;
    miBoolean useRayTraceShadows;
    miColor shadowColor;       // light in full shadow
    miInteger shadowRays;      // of the first set of a soft shadow; 0: no ray-traced shadows
    miInteger rayDepthLimit;   // trace level from which on no shadows are traced
    miInteger units;           // LightUnits: none or lux
    miScalar colorTemperature; // kelvin; 0: the colour alone
    miScalar ambientShade;     // 0 to 1: share that comes from the light's place
};

extern "C" {
/// Light that is there without a direction, in part or whole; materials add it as ambient light.
ORCA_EXPORT miBoolean orcaVelaAmbientLight(miColor* result, miState* state, AmbientLightParameters* record);
ORCA_EXPORT int orcaVelaAmbientLight_version(void);
} // extern "C"
