// SPDX-License-Identifier: Apache-2.0
#include "orcaStandardSurface.h"

namespace {
using P = BlinnParameters;
/// Highlights and reflections that grow towards grazing angles.
using BlinnShader =
    StandardSurface<P, BlinnShaderHelper<P>, BlinnSpecularComponent<P>, BlinnReflectionComponent<P>>;
} // namespace

ORCA_EXPORT_SHADER(orcaVelaBlinn, SurfaceShaderReturnType, BlinnShader, BlinnParameters, "orcaBlinn", 305)

#include "declared/orcaVelaBlinn.h"
