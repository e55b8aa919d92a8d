// SPDX-License-Identifier: Apache-2.0
#include "orcaSpecularSurface.h"

namespace {
using P = AnisotropicParameters;
using AnisotropicShader = SpecularSurface<P, AnisotropicShaderHelper<P>, AnisotropicSpecularComponent<P>,
                                          AnisotropicReflectionComponent<P>>;
} // namespace

ORCA_EXPORT_SHADER(orcaVelaAnisotropic, SurfaceShaderReturnType, AnisotropicShader, AnisotropicParameters,
                   "orcaAnisotropic", 601)

#include "declared/orcaVelaAnisotropic.h"
