// SPDX-License-Identifier: Apache-2.0
#include "orcaPassShader.h"
#include "orcaRasterMotion.h"

#include <algorithm>
#include <cmath>

/// Parameters of orcaPassMotionVector2DNormalized, in declaration order.
struct MotionVector2DNormalizedParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
    miInteger useResolution;     // the picture's larger side is the largest displacement
    miScalar outputMin;          // of the largest displacement to the left or down
    miScalar outputMax;          // of the largest displacement to the right or up
    miScalar maxDisplacement;    // pixels; used without useResolution
    miInteger writeMagnitude;    // z holds the length of the mapped vector
};

namespace {

using P = MotionVector2DNormalizedParameters;

/// Displacement in the picture, mapped so that no motion is the middle of the output range.
class MotionVector2DNormalizedComputation {
public:
    MotionVector2DNormalizedComputation(miState* state, P* record)
        : useResolution_(parameterValue(state, record, &P::useResolution) != 0),
          output_{parameterValue(state, record, &P::outputMin), parameterValue(state, record, &P::outputMax)},
          maxDisplacement_(parameterValue(state, record, &P::maxDisplacement)),
          writeMagnitude_(parameterValue(state, record, &P::writeMagnitude) != 0) {}

    void operator()(miState* state, P*, miVector& value) const {
        const miVector motion = motionInRaster(state);
        const float largest = useResolution_ ? largerSide(state) : maxDisplacement_;
        const miRange displacement{-largest, largest};
        value.x = remapClamped(motion.x, displacement, output_);
        value.y = remapClamped(motion.y, displacement, output_);
        value.z = writeMagnitude_ ? std::sqrt(value.x * value.x + value.y * value.y) : 0.0f;
    }

private:
    static float largerSide(const miState* state) {
        constexpr float withoutCamera = 256.0f;
        if (!state->camera) return withoutCamera;
        return static_cast<float>(std::max(state->camera->x_resolution, state->camera->y_resolution));
    }

    bool useResolution_;
    miRange output_;
    float maxDisplacement_; // pixels
    bool writeMagnitude_;
};

using MotionVector2DNormalizedShader =
    PassShader<miVector, P, MotionVector2DNormalizedComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassMotionVector2DNormalized, miVector, MotionVector2DNormalizedShader,
                   MotionVector2DNormalizedParameters, "orcaMotionVector2DNormalized", 1)

#include "declared/orcaPassMotionVector2DNormalized.h"
