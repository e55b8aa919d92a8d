// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaLightFog, in declaration order.
struct LightFogParameters {
    miTag light;       // instance of a point or spot light
    miScalar radius;   // scene units: how far from the light there is fog
    miInteger samples; // points of a ray at which the light is asked for
};

extern "C" {
/// Describes the fog of a light to the volume engine that asks for it with its fourth argument.
ORCA_EXPORT miBoolean orcaVelaLightFog(miColor* result, miState* state, LightFogParameters* record,
                                       void* argument);
ORCA_EXPORT int orcaVelaLightFog_version(void);
} // extern "C"
