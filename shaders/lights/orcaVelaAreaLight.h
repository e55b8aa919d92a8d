// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaAreaLight, in declaration order.
struct AreaLightParameters {
    miInteger decayRate; // 2: physical; else the power of the solid angle is half of it
    miBoolean useDepthMapShadows;
    miBoolean emitDiffuse;
    miBoolean emitSpecular;
    miColor color;      // connected: a picture on the lamp
    miScalar intensity; // with `color` the radiance
    miBoolean useRayTraceShadows;
    miColor shadowColor;       // light in full shadow
    miInteger shadowRays;      // over the shape; 0: no ray-traced shadows
    miInteger rayDepthLimit;   // trace level from which on no shadows are traced
    miInteger units;           // LightUnits
    miScalar colorTemperature; // kelvin; 0: the colour alone
    miInteger shape;           // AreaShape
    miBoolean twoSided;
};

extern "C" {
/// Light of a rectangle or disc between -1 and 1 in x and y of the light's space, which shines along -z.
/// False behind it.
ORCA_EXPORT miBoolean orcaVelaAreaLight(miColor* result, miState* state, AreaLightParameters* record);
ORCA_EXPORT int orcaVelaAreaLight_version(void);
} // extern "C"
