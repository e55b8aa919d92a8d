// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Entry points of the materials with highlights and reflections.

#include "orcaSpecularParameters.h"
#include "orcaSurfaceShaderReturnType.h"

extern "C" {
int orcaVelaPhong_version(void);
void orcaVelaPhong_init(miState* state, PhongParameters* record, miBoolean* instanceInitRequired);
void orcaVelaPhong_exit(miState* state, PhongParameters* record);
/// Round highlights of a plastic or a polish.
miBoolean orcaVelaPhong(SurfaceShaderReturnType* result, miState* state, PhongParameters* record);

int orcaVelaPhongE_version(void);
void orcaVelaPhongE_init(miState* state, PhongEParameters* record, miBoolean* instanceInitRequired);
void orcaVelaPhongE_exit(miState* state, PhongEParameters* record);
/// Round highlights with a rim.
miBoolean orcaVelaPhongE(SurfaceShaderReturnType* result, miState* state, PhongEParameters* record);

int orcaVelaBlinn_version(void);
void orcaVelaBlinn_init(miState* state, BlinnParameters* record, miBoolean* instanceInitRequired);
void orcaVelaBlinn_exit(miState* state, BlinnParameters* record);
/// Highlights and reflections that grow towards grazing angles.
miBoolean orcaVelaBlinn(SurfaceShaderReturnType* result, miState* state, BlinnParameters* record);

int orcaVelaAnisotropic_version(void);
void orcaVelaAnisotropic_init(miState* state, AnisotropicParameters* record, miBoolean* instanceInitRequired);
void orcaVelaAnisotropic_exit(miState* state, AnisotropicParameters* record);
/// Stretched highlights of brushed metal, hair and cloth.
miBoolean orcaVelaAnisotropic(SurfaceShaderReturnType* result, miState* state, AnisotropicParameters* record);
} // extern "C"
