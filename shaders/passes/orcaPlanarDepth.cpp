// SPDX-License-Identifier: Apache-2.0
#include "orcaPassShader.h"

/// Parameters of orcaPassPlanarDepth, in declaration order.
struct PlanarDepthParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
};

namespace {

using P = PlanarDepthParameters;

/// Distance of the hit from the camera along its axis, in scene units: that of the plane, perpendicular to
/// the axis, which the point lies on.
struct PlanarDepthComputation {
    PlanarDepthComputation(miState*, P*) {}
    void operator()(miState* state, P*, float& value) const {
        miVector pointInCamera;
        mi_point_to_camera(state, &pointInCamera, &state->point);
        value = -pointInCamera.z;
    }
};

using PlanarDepthShader = PassShader<float, P, PlanarDepthComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassPlanarDepth, miScalar, PlanarDepthShader, PlanarDepthParameters, "orcaPlanarDepth",
                   1)

#include "declared/orcaPassPlanarDepth.h"
