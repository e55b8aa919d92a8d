// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

extern "C" {
/// Blocks all light, except in passes that exclude the occluder. True while light reaches some pass.
ORCA_EXPORT miBoolean orcaVelaFastShadow(miColor* result, miState* state);
ORCA_EXPORT int orcaVelaFastShadow_version(void);
} // extern "C"
