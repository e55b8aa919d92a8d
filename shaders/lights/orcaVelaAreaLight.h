// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaLightParameters.h"

#include <shader.h>

struct SolidAngleDecayParameter {
    miInteger decayRate; // 2: physical; else the power of the solid angle is half of it
};

/// Parameters of orcaVelaAreaLight, in declaration order. The shadow rays are over the shape; `color` with
/// `intensity` is the radiance, connected: a picture on the lamp.
struct AreaLightParameters : SolidAngleDecayParameter, LightParameters, LightUnitParameters {
    miInteger shape; // AreaShape
    miBoolean twoSided;
};

extern "C" {
/// Light of a rectangle or disc between -1 and 1 in x and y of the light's space, which shines along -z.
/// False behind it.
ORCA_EXPORT miBoolean orcaVelaAreaLight(miColor* result, miState* state, AreaLightParameters* record);
ORCA_EXPORT int orcaVelaAreaLight_version(void);
} // extern "C"
