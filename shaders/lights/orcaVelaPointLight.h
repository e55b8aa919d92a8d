// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaPointLight, in declaration order.
struct PointLightParameters {
    miScalar lightRadius; // scene units; 0: hard shadows
    miInteger decayRate;  // exponent of the fall-off with distance: 0 to 3
    miBoolean useDepthMapShadows;
    miBoolean emitDiffuse;
    miBoolean emitSpecular;
    miColor color;
    miScalar intensity;
    miBoolean useRayTraceShadows;
    miColor shadowColor;     // light in full shadow
    miInteger shadowRays;    // of the first set of a soft shadow; 0: no ray-traced shadows
    miInteger rayDepthLimit; // trace level from which on no shadows are traced
    miScalar fogRadius;      // scene units
    miInteger fogType;       // FogType
    miScalar fogIntensity;
    miTag lightProfile;
    miInteger units;           // LightUnits
    miScalar colorTemperature; // kelvin; 0: the colour alone
};

extern "C" {
/// Light from a point, with decay, fog, a profile and shadows. False behind a one-sided area shape.
ORCA_EXPORT miBoolean orcaVelaPointLight(miColor* result, miState* state, PointLightParameters* record);
ORCA_EXPORT int orcaVelaPointLight_version(void);
} // extern "C"
