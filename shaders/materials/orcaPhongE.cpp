// SPDX-License-Identifier: Apache-2.0
#include "orcaSpecularSurface.h"

namespace {
using P = PhongEParameters;
using PhongEShader = SpecularSurface<P, PhongEShaderHelper<P>, PhongESpecularComponent<P>,
                                     DefaultSpecularReflectionComponent<P>>;
} // namespace

ORCA_EXPORT_SHADER(orcaVelaPhongE, SurfaceShaderReturnType, PhongEShader, PhongEParameters, "orcaPhongE", 292)

#include "declared/orcaVelaPhongE.h"
