// SPDX-License-Identifier: Apache-2.0
#include "orcaRampComponents.h"
#include "orcaStandardSurface.h"

namespace {

using P = RampShaderParameters;
/// Colours by ramps over the angles and the brightness of the light; with steps, a toon material.
using RampShader =
    Surface<P, SurfaceShaderReturnType, RampShaderHelper<P>, DefaultAmbientMaterialColorComponent<P>,
            DefaultAmbientComponent<P>, RampMaterialColor, RampDiffuseComponent, RampSpecularComponent,
            RampReflectionComponent, DefaultRefractionComponent<P>, DefaultScatterComponent<P>,
            DefaultIndirectComponent<P>, RampIncandescenceComponent, DefaultCustomComponent<P>>;

} // namespace

ORCA_EXPORT_SHADER(orcaVelaRampShader, SurfaceShaderReturnType, RampShader, RampShaderParameters,
                   "orcaRampShader", 21)

#include "declared/orcaVelaRampShader.h"
