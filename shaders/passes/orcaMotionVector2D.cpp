// SPDX-License-Identifier: Apache-2.0
#include "orcaPassShader.h"
#include "orcaRasterMotion.h"

/// Parameters of orcaPassMotionVector2D, in declaration order.
struct MotionVector2DParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
};

namespace {

using P = MotionVector2DParameters;

/// Displacement of the point over the shutter in the picture, in square pixels.
struct MotionVector2DComputation {
    MotionVector2DComputation(miState*, P*) {}
    void operator()(miState* state, P*, miVector& value) const { value = motionInRaster(state); }
};

using MotionVector2DShader = PassShader<miVector, P, MotionVector2DComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassMotionVector2D, miVector, MotionVector2DShader, MotionVector2DParameters,
                   "orcaMotionVector2D", 1)

#include "declared/orcaPassMotionVector2D.h"
