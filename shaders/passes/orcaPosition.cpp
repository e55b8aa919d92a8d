// SPDX-License-Identifier: Apache-2.0
#include "orcaNormalSpace.h"
#include "orcaPassShader.h"

/// Parameters of orcaPassPosition, in declaration order.
struct PositionParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
    miInteger space;             // see NormalSpace
};

namespace {

using P = PositionParameters;

/// Where the hit is, in scene units.
class PositionComputation {
public:
    PositionComputation(miState* state, P* record)
        : space_(static_cast<miUint>(parameterValue(state, record, &P::space))) {}
    void operator()(miState* state, P*, miVector& value) const {
        if (space_ == NORMAL_SPACE_CAMERA) mi_point_to_camera(state, &value, &state->point);
        else if (space_ == NORMAL_SPACE_OBJECT) mi_point_to_object(state, &value, &state->point);
        else mi_point_to_world(state, &value, &state->point);
    }

private:
    miUint space_;
};

using PositionShader = PassShader<miVector, P, PositionComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassPosition, miVector, PositionShader, PositionParameters, "orcaPosition", 1)

#include "declared/orcaPassPosition.h"
