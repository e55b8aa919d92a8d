// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaLightParameters.h"

#include <shader.h>

struct LightPositionParameter {
    miBoolean useLightPosition; // light only points in front of the light's position
};

/// Parameters of orcaVelaDirectionalLight, in declaration order.
struct DirectionalLightParameters : LightPositionParameter,
                                    LightAngleParameter,
                                    LightParameters,
                                    LightUnitParameters {};

extern "C" {
/// Parallel light, with shadows. Returns false behind the light's position with useLightPosition.
ORCA_EXPORT miBoolean orcaVelaDirectionalLight(miColor* result, miState* state,
                                               DirectionalLightParameters* record);
ORCA_EXPORT int orcaVelaDirectionalLight_version(void);
} // extern "C"
