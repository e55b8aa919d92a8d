// SPDX-License-Identifier: Apache-2.0
#include "orcaStandardSurface.h"

namespace {
using P = PhongParameters;
/// Round highlights, as of plastic or polish.
using PhongShader = StandardSurface<P, SpecularShaderHelper<P>, PhongSpecularComponent<P>,
                                    DefaultSpecularReflectionComponent<P>>;
} // namespace

ORCA_EXPORT_SHADER(orcaVelaPhong, SurfaceShaderReturnType, PhongShader, PhongParameters, "orcaPhong", 136)

#include "declared/orcaVelaPhong.h"
