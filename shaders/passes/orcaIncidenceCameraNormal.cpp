// SPDX-License-Identifier: Apache-2.0
#include "orcaPassShader.h"

/// Parameters of orcaPassIncidenceCameraNormal, in declaration order.
struct IncidenceCameraNormalParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
};

namespace {

using P = IncidenceCameraNormalParameters;

/// One minus the facing ratio: 0 head-on, 1 at grazing incidence and from behind.
struct IncidenceCameraNormalComputation {
    IncidenceCameraNormalComputation(miState*, P*) {}
    void operator()(miState* state, P*, float& value) const {
        const float facing = -state->dot_nd;
        value = facing < 0.0f ? 1.0f : 1.0f - facing;
    }
};

using IncidenceCameraNormalShader =
    PassShader<float, P, IncidenceCameraNormalComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassIncidenceCameraNormal, miScalar, IncidenceCameraNormalShader,
                   IncidenceCameraNormalParameters, "orcaIncidenceCameraNormal", 1)

#include "declared/orcaPassIncidenceCameraNormal.h"
