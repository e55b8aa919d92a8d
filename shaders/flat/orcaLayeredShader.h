// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaSurfaceShaderReturnType.h"

#include <shader.h>

/// One layer of orcaVelaLayeredShader. Each member is usually connected to the layer's shader.
struct LayerRecord {
    miColor color;
    miColor transparency;
    miColor glowColor;
};

/// Parameters of orcaVelaLayeredShader, in declaration order.
struct LayeredShaderParameters {
    miInteger passWriteMode;
    miInteger passWriteFlags;
    miScalar passWriteScale;
    miInteger compositingMode; // 0: colours are premultiplied and added as they are; else weighted by opacity
    int i_layers;
    int n_layers;
    LayerRecord layers[1]; // front layer first
    miInteger matteMode;   // 0 black hole, 1 solid, else from the opacity
    miScalar matteOpacity;
};

extern "C" {
ORCA_EXPORT int orcaVelaLayeredShader_version(void);
ORCA_EXPORT void orcaVelaLayeredShader_init(miState* state, LayeredShaderParameters* record,
                                            miBoolean* instanceInitRequired);
ORCA_EXPORT void orcaVelaLayeredShader_exit(miState* state, LayeredShaderParameters* record);
/// Mixes layers into one surface, front to back. False, with a warning and the result untouched, when the
/// render state lacks its base record.
ORCA_EXPORT miBoolean orcaVelaLayeredShader(SurfaceShaderReturnType* result, miState* state,
                                            LayeredShaderParameters* record);
} // extern "C"
