// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaShapeLight, in declaration order.
struct ShapeLightParameters {
    miBoolean emitDiffuse;
    miBoolean emitSpecular;
    miColor color;      // connected: looked up with the mesh's texture coordinates
    miScalar intensity; // with `color` the radiance
    miBoolean useRayTraceShadows;
    miColor shadowColor;       // radiance in full shadow
    miInteger rayDepthLimit;   // trace level from which on no shadows are traced
    miInteger units;           // LightUnits
    miScalar colorTemperature; // kelvin; 0: the colour alone
    miBoolean twoSided;
};

extern "C" {
/// Light of a mesh, for lights with the shape `object`. False, with a message, for other shapes.
ORCA_EXPORT miBoolean orcaVelaShapeLight(miColor* result, miState* state, ShapeLightParameters* record);
ORCA_EXPORT int orcaVelaShapeLight_version(void);
} // extern "C"
