// SPDX-License-Identifier: Apache-2.0
#include "orcaLambertMaterial.h"

#include "orcaAmbientComponents.h"
#include "orcaCustomComponents.h"
#include "orcaDiffuseComponents.h"
#include "orcaIncandescenceComponents.h"
#include "orcaIndirectComponents.h"
#include "orcaReflectionComponents.h"
#include "orcaRefractionComponents.h"
#include "orcaScatterComponents.h"
#include "orcaShaderHelpers.h"
#include "orcaSpecularComponents.h"
#include "orcaSurface.h"

namespace {
using P = LambertParameters;
/// The plain diffuse material: no highlights, no reflections.
using LambertShader =
    Surface<P, SurfaceShaderReturnType, LambertianShaderHelper<P>, DefaultAmbientMaterialColorComponent<P>,
            DefaultAmbientComponent<P>, DefaultDiffuseMaterialColorComponent<P>, DefaultDiffuseComponent<P>,
            DefaultSpecularComponent<P>, DefaultReflectionComponent<P>, DefaultRefractionComponent<P>,
            DefaultScatterComponent<P>, DefaultIndirectComponent<P>, DefaultIncandescenceComponent<P>,
            DefaultCustomComponent<P>>;
} // namespace

ORCA_EXPORT_SHADER(orcaVelaLambert, SurfaceShaderReturnType, LambertShader, LambertParameters, "orcaLambert",
                   35)

#include "declared/orcaVelaLambert.h"
