// SPDX-License-Identifier: Apache-2.0
#include "orcaStandardSurface.h"

namespace {
using P = PhongEParameters;
/// Round highlights with a rim.
using PhongEShader = StandardSurface<P, PhongEShaderHelper<P>, PhongESpecularComponent<P>,
                                     DefaultSpecularReflectionComponent<P>>;
} // namespace

ORCA_EXPORT_SHADER(orcaVelaPhongE, SurfaceShaderReturnType, PhongEShader, PhongEParameters, "orcaPhongE", 292)

#include "declared/orcaVelaPhongE.h"
