// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaSurfaceShaderReturnType.h"

#include <shader.h>

/// Parameters of orcaVelaShadingMap, in declaration order.
struct ShadingMapParameters {
    miInteger passWriteMode;
    miInteger passWriteFlags;
    miScalar passWriteScale;
    miColor inputColor; // the shaded colour
    miColor inputTransparency;
    miInteger matteMode; // 0 black hole, 1 solid, else from the opacity
    miScalar matteOpacity;
    miColor glowColor;
    miColor mapColor;   // looked up at the input's channels
    miInteger uChannel; // 0 hue, 1 saturation, 2 value, 3 red, 4 green, 5 blue, else their mean
    miInteger vChannel;
};

extern "C" {
ORCA_EXPORT int orcaVelaShadingMap_version(void);
ORCA_EXPORT void orcaVelaShadingMap_init(miState* state, ShadingMapParameters* record,
                                         miBoolean* instanceInitRequired);
ORCA_EXPORT void orcaVelaShadingMap_exit(miState* state, ShadingMapParameters* record);
/// Replaces a shaded colour by one from a map, at two of its channels.
ORCA_EXPORT miBoolean orcaVelaShadingMap(SurfaceShaderReturnType* result, miState* state,
                                         ShadingMapParameters* record);
} // extern "C"
