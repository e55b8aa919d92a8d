// SPDX-License-Identifier: Apache-2.0
#include "orcaPassShader.h"

static_assert(sizeof(miAo_options) == 40);

/// Parameters of orcaPassAmbientOcclusion, in declaration order.
struct AmbientOcclusionParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
};

namespace {

using P = AmbientOcclusionParameters;

/// Share of the hemisphere above the point that nothing covers, as grey; black without alpha where all is
/// covered.
struct AmbientOcclusionComputation {
    AmbientOcclusionComputation(miState*, P*) {}
    void operator()(miState* state, P*, miColor& value) const {
        value = {};
        const Restored<miVector> direction(state->dir);
        const Restored<miVector> normal(state->normal);
        // The renderer's defaults except for the axis.
        miAo_options request{sizeof(miAo_options), -1, state->normal, -2.0f, 1.0f, -1.0f, -1.0f, -1};
        miScalar occlusion = 0.0f;
        mi_ambient_occlusion(&occlusion, state, &request);
        const float open = 1.0f - occlusion;
        if (open == 0.0f) return;
        const float grey = open < 1.0f ? open : 1.0f;
        value = {grey, grey, grey, 1.0f};
    }
};

using AmbientOcclusionShader = PassShader<miColor, P, AmbientOcclusionComputation, AOShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassAmbientOcclusion, miColor, AmbientOcclusionShader, AmbientOcclusionParameters,
                   "orcaAmbientOcclusion", 1)

#include "declared/orcaPassAmbientOcclusion.h"
