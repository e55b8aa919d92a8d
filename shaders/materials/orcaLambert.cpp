// SPDX-License-Identifier: Apache-2.0
#include "orcaStandardSurface.h"

namespace {
using P = LambertParameters;
/// The plain diffuse material: no highlights, no reflections.
using LambertShader = StandardSurface<P, LambertianShaderHelper<P>>;
} // namespace

ORCA_EXPORT_SHADER(orcaVelaLambert, SurfaceShaderReturnType, LambertShader, LambertParameters, "orcaLambert",
                   35)

#include "declared/orcaVelaLambert.h"
