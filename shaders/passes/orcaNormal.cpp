// SPDX-License-Identifier: Apache-2.0
#include "orcaPassShader.h"

/// Parameters of orcaPassNormal, in declaration order.
struct NormalParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
    miInteger space;             // 1 camera, 2 object, else world
};

namespace {

using P = NormalParameters;

/// The shading normal.
class NormalComputation {
public:
    NormalComputation(miState* state, P* record) : space_(parameterValue(state, record, &P::space)) {}
    void operator()(miState* state, P*, miVector& value) const {
        constexpr miInteger cameraSpace = 1;
        constexpr miInteger objectSpace = 2;
        miVector normal = state->normal;
        if (space_ == cameraSpace) mi_normal_to_camera(state, &value, &normal);
        else if (space_ == objectSpace) mi_normal_to_object(state, &value, &normal);
        else mi_normal_to_world(state, &value, &normal);
    }

private:
    miInteger space_;
};

using NormalShader = PassShader<miVector, P, NormalComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassNormal, miVector, NormalShader, NormalParameters, "orcaNormal", 1)

#include "declared/orcaPassNormal.h"
