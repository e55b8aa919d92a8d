// SPDX-License-Identifier: Apache-2.0
#include "orcaPassShader.h"

#include <algorithm>

/// Parameters of orcaPassCameraDepth, in declaration order.
struct CameraDepthParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
    miInteger remap;             // 0: write the distance itself; else map it as below
    miScalar nearDepth;          // scene units from the camera; written as outputMin
    miScalar farDepth;           // scene units from the camera; written as outputMax
    miScalar outputMin;
    miScalar outputMax;
};

namespace {

using P = CameraDepthParameters;

/// Distance from the camera to the hit (Euclidean, not the z a depth buffer would hold), in scene units.
class CameraDepthComputation {
public:
    CameraDepthComputation(miState* state, P* record)
        : remap_(parameterValue(state, record, &P::remap) != 0),
          depth_{parameterValue(state, record, &P::nearDepth), parameterValue(state, record, &P::farDepth)},
          output_{parameterValue(state, record, &P::outputMin),
                  parameterValue(state, record, &P::outputMax)} {
        depth_.min = std::min(depth_.min, depth_.max);
        output_.min = std::min(output_.min, output_.max);
    }
    void operator()(miState* state, P*, float& value) const {
        miVector pointInCamera;
        mi_point_to_camera(state, &pointInCamera, &state->point);
        const float distance = mi_vector_norm(&pointInCamera);
        value = remap_ ? remapClamped(distance, depth_, output_) : distance;
    }

private:
    bool remap_;
    miRange depth_; // scene units; an empty range is left as it is
    miRange output_;
};

using CameraDepthShader = PassShader<float, P, CameraDepthComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassCameraDepth, miScalar, CameraDepthShader, CameraDepthParameters, "orcaCameraDepth",
                   1)

#include "declared/orcaPassCameraDepth.h"
