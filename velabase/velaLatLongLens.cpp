// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaVector.h"
#include "velaLens.h"

#include <shader.h>

#include <cmath>
#include <numbers>

/// Parameters of velaLatLongLens, in declaration order.
struct VelaLatLongLensParameters {
    miScalar horizontalAngle; // degrees across the picture
    miScalar verticalAngle;   // degrees from its lower to its upper edge
    miInteger eye;            // StereoEye; both: the left one in the upper half, the right one in the lower
    miScalar interaxial;      // scene units between the eyes
};

namespace {

using P = VelaLatLongLensParameters;

constexpr float radians = std::numbers::pi_v<float> / 180.0f;

} // namespace

extern "C" {

ORCA_EXPORT int velaLatLongLens_version(void) {
    return 1;
}

/// All directions in one picture, longitude across and latitude up, as velaEnvironmentLatLong reads it. The
/// eyes of a stereo picture lie on a circle, each at right angles to where it looks (S. Peleg, M. Ben-Ezra,
/// Y. Pritch, "Omnistereo: Panoramic Stereo Imaging", 2001); towards the poles they move together.
ORCA_EXPORT miBoolean velaLatLongLens(miColor* result, miState* state, VelaLatLongLensParameters* record) {
    PicturePoint seen = picturePoint(*state);
    miInteger eye = parameterValue(state, record, &P::eye);
    if (eye == EYE_BOTH) {
        eye = seen.y >= 0.0f ? EYE_LEFT : EYE_RIGHT;
        seen.y = 2.0f * seen.y + (seen.y >= 0.0f ? -1.0f : 1.0f);
    }
    const float across = parameterValue(state, record, &P::horizontalAngle) * radians;
    const float longitude = 0.5f * across * seen.x;
    const float latitude = 0.5f * parameterValue(state, record, &P::verticalAngle) * radians * seen.y;
    const miVector right{std::cos(longitude), 0.0f, std::sin(longitude)};

    CameraRay ray{{0.0f, 0.0f, 0.0f},
                  {std::sin(longitude) * std::cos(latitude), std::sin(latitude),
                   -std::cos(longitude) * std::cos(latitude)}};
    if (eye == EYE_LEFT || eye == EYE_RIGHT) {
        const float half = 0.5f * parameterValue(state, record, &P::interaxial) * std::cos(latitude);
        ray.origin = right * (eye == EYE_LEFT ? -half : half);
    }
    const LensPixelAngle angle(state, across / static_cast<float>(state->camera->x_resolution));
    return traceCameraRay(result, state, ray);
}

} // extern "C"

#include "declared/velaLatLongLens.h"
