// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaLightParameters.h"

#include <shader.h>

struct AmbientShadowParameters {
    miScalar lightRadius; // scene units; 0: hard shadows
    miBoolean useDepthMapShadows;
};

/// Parameters of orcaVelaAmbientLight, in declaration order.
struct AmbientLightParameters : AmbientShadowParameters, LightColorParameters, LightUnitParameters {
    miScalar ambientShade; // 0 to 1: share that comes from the light's place
};

extern "C" {
/// Light that is there without a direction, in part or whole; materials add it as ambient light.
ORCA_EXPORT miBoolean orcaVelaAmbientLight(miColor* result, miState* state, AmbientLightParameters* record);
ORCA_EXPORT int orcaVelaAmbientLight_version(void);
} // extern "C"
