// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaSurfaceShaderReturnType.h"

#include <shader.h>

/// Parameters of orcaVelaSurfaceShader, in declaration order: the result's colours, each connectable.
struct SurfaceShaderParameters {
    miInteger passWriteMode;
    miInteger passWriteFlags;
    miScalar passWriteScale;
    miColor color;
    miColor glowColor;
    miColor matteOpacity;
    miColor transparency;
    miColor ambient;
    miColor incandescence;
    miColor irradiance;
    miColor diffuse;
    miColor diffuseUnshadowed;
    miColor specular;
    miColor specularUnshadowed;
    miColor reflection;
    miColor refraction;
    miColor scatter;
    miColor translucence;
    miColor opacity;
};

extern "C" {
ORCA_EXPORT int orcaVelaSurfaceShader_version(void);
ORCA_EXPORT void orcaVelaSurfaceShader_init(miState* state, SurfaceShaderParameters* record,
                                            miBoolean* instanceInitRequired);
ORCA_EXPORT void orcaVelaSurfaceShader_exit(miState* state, SurfaceShaderParameters* record);
/// Returns its parameters as the result of a surface, without lighting.
ORCA_EXPORT miBoolean orcaVelaSurfaceShader(SurfaceShaderReturnType* result, miState* state,
                                            SurfaceShaderParameters* record);
} // extern "C"
