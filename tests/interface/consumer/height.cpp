// SPDX-License-Identifier: Apache-2.0
// A utility pass: how high the hit is above the ground.
#include <orcaPassShader.h>

/// Parameters of consumerPassHeight, in declaration order.
struct HeightParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
    miScalar ground;             // world units; height 0
};

namespace {

using P = HeightParameters;

class HeightComputation {
public:
    HeightComputation(miState* state, P* record) : ground_(parameterValue(state, record, &P::ground)) {}
    void operator()(miState* state, P*, float& value) const {
        miVector pointInWorld;
        mi_point_to_world(state, &pointInWorld, &state->point);
        value = pointInWorld.y - ground_;
    }

private:
    miScalar ground_;
};

using HeightShader = PassShader<float, P, HeightComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(consumerPassHeight, miScalar, HeightShader, HeightParameters, "height", 1)

#include "declared/consumerPassHeight.h"
