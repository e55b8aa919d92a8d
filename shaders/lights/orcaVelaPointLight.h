// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaLightParameters.h"

#include <shader.h>

struct PointFogParameters {
    miScalar fogRadius; // scene units
    miInteger fogType;  // FogType
    miScalar fogIntensity;
    miTag lightProfile;
};

/// Parameters of orcaVelaPointLight, in declaration order.
struct PointLightParameters : DecayParameters, LightParameters, PointFogParameters, LightUnitParameters {};

extern "C" {
/// Light from a point, with decay, fog, a profile and shadows. False behind a one-sided area shape.
ORCA_EXPORT miBoolean orcaVelaPointLight(miColor* result, miState* state, PointLightParameters* record);
ORCA_EXPORT int orcaVelaPointLight_version(void);
} // extern "C"
