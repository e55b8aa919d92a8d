// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaOceanParameters.h"

extern "C" {
int orcaVelaOceanShader_version(void);
void orcaVelaOceanShader_init(miState* state, OceanShaderParameters* record, miBoolean* instanceInitRequired);
void orcaVelaOceanShader_exit(miState* state, OceanShaderParameters* record);
/// Open water with waves and foam. In a displacement call only the height is computed.
miBoolean orcaVelaOceanShader(OceanShaderReturnType* result, miState* state, OceanShaderParameters* record);
} // extern "C"
