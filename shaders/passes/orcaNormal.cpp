// SPDX-License-Identifier: Apache-2.0
#include "orcaNormalSpace.h"
#include "orcaPassShader.h"

/// Parameters of orcaPassNormal, in declaration order.
struct NormalParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
    miInteger space;             // see NormalSpace
};

namespace {

using P = NormalParameters;

/// The shading normal.
class NormalComputation {
public:
    NormalComputation(miState* state, P* record)
        : space_(static_cast<miUint>(parameterValue(state, record, &P::space))) {}
    void operator()(miState* state, P*, miVector& value) const { value = normalInSpace(state, space_); }

private:
    miUint space_;
};

using NormalShader = PassShader<miVector, P, NormalComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassNormal, miVector, NormalShader, NormalParameters, "orcaNormal", 1)

#include "declared/orcaPassNormal.h"
