// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaVector.h"
#include "velaLens.h"

#include <shader.h>

/// Parameters of velaStereoLens, in declaration order.
struct VelaStereoLensParameters {
    miInteger eye;       // StereoEye; both: the left one in the left half, the right one in the right
    miScalar interaxial; // scene units between the eyes
    miScalar
        convergenceDistance; // scene units along the view axis; what lies there has no parallax. 0: far away
};

namespace {

using P = VelaStereoLensParameters;

/// Moves the view of a half of the picture to the camera's axis.
void centreHalf(const miCamera& camera, miScalar side, CameraRay& ray) {
    const float quarter = 0.25f * camera.aperture * side;
    if (camera.orthographic) ray.origin.x -= quarter;
    else ray.direction.x += quarter * ray.direction.z / camera.focal;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaStereoLens_version(void) {
    return 1;
}

/// An eye beside the camera that looks the same way. Its view is sheared, not turned, so that the eyes see
/// the plane of convergence alike.
ORCA_EXPORT miBoolean velaStereoLens(miColor* result, miState* state, VelaStereoLensParameters* record) {
    const miInteger eye = parameterValue(state, record, &P::eye);
    CameraRay ray = cameraRay(state);
    miScalar side = eye == EYE_LEFT ? -1.0f : eye == EYE_RIGHT ? 1.0f : 0.0f;
    if (eye == EYE_BOTH) {
        side = picturePoint(*state).x < 0.0f ? -1.0f : 1.0f;
        centreHalf(*state->camera, side, ray);
    }
    if (side != 0.0f && ray.direction.z < 0.0f) {
        const miVector offset{0.5f * side * parameterValue(state, record, &P::interaxial), 0.0f, 0.0f};
        const float convergence = parameterValue(state, record, &P::convergenceDistance);
        if (convergence > 0.0f) {
            // Seen at the same place by both eyes.
            const float along = (-convergence - ray.origin.z) / ray.direction.z;
            ray.direction = ray.direction * along - offset;
        }
        ray.origin = ray.origin + offset;
    }
    return traceCameraRay(result, state, ray);
}

} // extern "C"

#include "declared/velaStereoLens.h"
