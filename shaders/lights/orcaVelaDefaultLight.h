// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaLightParameters.h"

#include <shader.h>

/// Parameters of orcaVelaDefaultLight, in declaration order.
struct DefaultLightParameters : LightAngleParameter, LightParameters, LightUnitParameters {};

extern "C" {
/// Parallel light along the camera's view. The light statement makes it directional; its direction is not
/// used.
ORCA_EXPORT miBoolean orcaVelaDefaultLight(miColor* result, miState* state, DefaultLightParameters* record);
ORCA_EXPORT int orcaVelaDefaultLight_version(void);
} // extern "C"
