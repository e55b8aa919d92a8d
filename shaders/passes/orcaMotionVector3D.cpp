// SPDX-License-Identifier: Apache-2.0
#include "orcaPassShader.h"

/// Parameters of orcaPassMotionVector3D, in declaration order.
struct MotionVector3DParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
};

namespace {

using P = MotionVector3DParameters;

/// Displacement of the point over the shutter, internal space, scene units.
struct MotionVector3DComputation {
    MotionVector3DComputation(miState*, P*) {}
    void operator()(miState* state, P*, miVector& value) const { value = state->motion; }
};

using MotionVector3DShader = PassShader<miVector, P, MotionVector3DComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassMotionVector3D, miVector, MotionVector3DShader, MotionVector3DParameters,
                   "orcaMotionVector3D", 1)

#include "declared/orcaPassMotionVector3D.h"
