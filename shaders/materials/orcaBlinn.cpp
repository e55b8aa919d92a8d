// SPDX-License-Identifier: Apache-2.0
#include "orcaSpecularSurface.h"

namespace {
using P = BlinnParameters;
using BlinnShader =
    SpecularSurface<P, BlinnShaderHelper<P>, BlinnSpecularComponent<P>, BlinnReflectionComponent<P>>;
} // namespace

ORCA_EXPORT_SHADER(orcaVelaBlinn, SurfaceShaderReturnType, BlinnShader, BlinnParameters, "orcaBlinn", 305)

#include "declared/orcaVelaBlinn.h"
