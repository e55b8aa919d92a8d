// SPDX-License-Identifier: Apache-2.0
#include "orcaStandardSurface.h"

namespace {
using P = AnisotropicParameters;
/// Stretched highlights of brushed metal, hair and cloth.
using AnisotropicShader = StandardSurface<P, AnisotropicShaderHelper<P>, AnisotropicSpecularComponent<P>,
                                          AnisotropicReflectionComponent<P>>;
} // namespace

ORCA_EXPORT_SHADER(orcaVelaAnisotropic, SurfaceShaderReturnType, AnisotropicShader, AnisotropicParameters,
                   "orcaAnisotropic", 601)

#include "declared/orcaVelaAnisotropic.h"
