// SPDX-License-Identifier: Apache-2.0
#include "orcaSpecularSurface.h"

namespace {
using P = PhongParameters;
using PhongShader = SpecularSurface<P, SpecularShaderHelper<P>, PhongSpecularComponent<P>,
                                    DefaultSpecularReflectionComponent<P>>;
} // namespace

ORCA_EXPORT_SHADER(orcaVelaPhong, SurfaceShaderReturnType, PhongShader, PhongParameters, "orcaPhong", 136)

#include "declared/orcaVelaPhong.h"
