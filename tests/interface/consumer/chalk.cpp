// SPDX-License-Identifier: Apache-2.0
// A material: the standard components with a diffuse component of its own.
#include <orcaAmbientComponents.h>
#include <orcaCustomComponents.h>
#include <orcaDiffuseComponents.h>
#include <orcaIncandescenceComponents.h>
#include <orcaIndirectComponents.h>
#include <orcaReflectionComponents.h>
#include <orcaRefractionComponents.h>
#include <orcaScatterComponents.h>
#include <orcaShaderHelpers.h>
#include <orcaSpecularComponents.h>
#include <orcaSurface.h>
#include <orcaSurfaceParameters.h>

#include <cmath>

/// Parameters of consumerChalk, in declaration order.
struct ChalkParameters : SurfaceParameters {
    miScalar flatness; // 0: as Lambert's cosine law; 1: equally bright at all angles
};

namespace {

using P = ChalkParameters;

/// Lambert's law with a flattened cosine, for powdery surfaces.
class ChalkDiffuseComponent {
public:
    ChalkDiffuseComponent(miState* state, P* record)
        : flatness_(parameterValue(state, record, &P::flatness)) {}
    [[nodiscard]] miColor operator()(const miColor& reflectance, miScalar nDotL) const {
        return nDotL > 0.0f ? reflectance * std::pow(nDotL, 1.0f - flatness_) : BLACK;
    }

private:
    miScalar flatness_;
};

using Chalk =
    Surface<P, SurfaceShaderReturnType, LambertianShaderHelper<P>, DefaultAmbientMaterialColorComponent<P>,
            DefaultAmbientComponent<P>, DefaultDiffuseMaterialColorComponent<P>, ChalkDiffuseComponent,
            DefaultSpecularComponent<P>, DefaultReflectionComponent<P>, DefaultRefractionComponent<P>,
            DefaultScatterComponent<P>, DefaultIndirectComponent<P>, DefaultIncandescenceComponent<P>,
            DefaultCustomComponent<P>>;

} // namespace

ORCA_EXPORT_SHADER(consumerChalk, SurfaceShaderReturnType, Chalk, ChalkParameters, "chalk", 1)

#include "declared/consumerChalk.h"
