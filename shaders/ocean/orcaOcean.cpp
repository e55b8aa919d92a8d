// SPDX-License-Identifier: Apache-2.0
#include "orcaOcean.h"

#include "orcaAmbientComponents.h"
#include "orcaDiffuseComponents.h"
#include "orcaIncandescenceComponents.h"
#include "orcaIndirectComponents.h"
#include "orcaOceanComponents.h"
#include "orcaOceanTexture.h"
#include "orcaSurface.h"

namespace {

using P = OceanShaderParameters;
using OceanSurface =
    Surface<P, OceanShaderReturnType, OceanShaderShaderHelper<P>, DefaultAmbientMaterialColorComponent<P>,
            DefaultAmbientComponent<P>, OceanShaderDiffuseMaterialColorComponent<P>,
            DefaultDiffuseComponent<P>, OceanShaderSpecularComponent<P>, OceanShaderReflectionComponent<P>,
            OceanShaderRefractionComponent<P>, OceanShaderScatterComponent<P>, DefaultIndirectComponent<P>,
            DefaultIncandescenceComponent<P>, OceanShaderCustomComponent<P>>;

/// The water's surface, and its height in displacement calls.
class OceanShader : public OceanSurface {
public:
    using OceanSurface::OceanSurface;

    miBoolean operator()(OceanShaderReturnType* result, miState* state, P* record) const {
        if (state->type != miRAY_DISPLACE && static_cast<int>(state->type) != miRAY_MRFM_DISPLACE)
            return OceanSurface::operator()(result, state, record);
        oceanshader_compute_texture(&result->displacement, nullptr, nullptr, state, record);
        return miTRUE;
    }
};

} // namespace

ORCA_EXPORT_SHADER(orcaVelaOceanShader, OceanShaderReturnType, OceanShader, OceanShaderParameters,
                   "orcaOcean", 305)

#include "declared/orcaVelaOceanShader.h"
