// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaSurfaceShaderReturnType.h"

#include <shader.h>

/// Parameters of orcaVelaUseBackground, in declaration order.
struct UseBackgroundParameters {
    miInteger passWriteMode;
    miInteger passWriteFlags;
    miScalar passWriteScale;
    miColor specularColor; // tint of what is reflected
    miScalar reflectivity; // share of the surroundings' light
    miInteger reflectionLimit;
    miScalar reflectionBlur; // half angle of the cone, radians
    miInteger reflectionBlurSamples;
    miScalar shadowMask;  // strength of the shadows, 0 to 1
    miColor ambientColor; // light on the background that no shadow removes
    miInteger matteMode;  // 0 black hole, 1 solid, else from the opacity
    miScalar matteOpacity;
    miInteger shadowBuffer; // custom pass for the share of the background that shadows remove; -1: none
};

extern "C" {
ORCA_EXPORT int orcaVelaUseBackground_version(void);
ORCA_EXPORT void orcaVelaUseBackground_init(miState* state, UseBackgroundParameters* record,
                                            miBoolean* instanceInitRequired);
ORCA_EXPORT void orcaVelaUseBackground_exit(miState* state, UseBackgroundParameters* record);
/// For geometry that represents an object in the background picture: shows the background, darkened by the
/// shadows on it, and reflects. False, with a warning and the result untouched, when the render state lacks
/// its base record.
ORCA_EXPORT miBoolean orcaVelaUseBackground(SurfaceShaderReturnType* result, miState* state,
                                            UseBackgroundParameters* record);
} // extern "C"
