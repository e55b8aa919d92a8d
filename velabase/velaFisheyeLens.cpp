// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaParameters.h"
#include "velaLens.h"

#include <shader.h>

#include <algorithm>
#include <cmath>
#include <numbers>

/// Parameters of velaFisheyeLens, in declaration order.
struct VelaFisheyeLensParameters {
    miScalar angle;       // degrees across the circle of the image
    miInteger projection; // Projection
    miBoolean fullFrame;  // the circle reaches the picture's corners, else its nearer edges
};

namespace {

using P = VelaFisheyeLensParameters;

enum Projection : miInteger { EQUIDISTANT = 0, EQUISOLID = 1, STEREOGRAPHIC = 2, ORTHOGRAPHIC = 3 };

constexpr float pi = std::numbers::pi_v<float>;

/// Angle to the axis at a share of the circle's radius.
float angleAt(float radius, float halfAngle, miInteger projection) {
    switch (projection) {
    case EQUISOLID: return 2.0f * std::asin(radius * std::sin(0.5f * halfAngle));
    case STEREOGRAPHIC: return 2.0f * std::atan(radius * std::tan(0.5f * halfAngle));
    case ORTHOGRAPHIC: return std::asin(radius * std::sin(std::min(halfAngle, 0.5f * pi)));
    default: return radius * halfAngle;
    }
}

} // namespace

extern "C" {

ORCA_EXPORT int velaFisheyeLens_version(void) {
    return 1;
}

/// A circle of directions about the view axis. Black and empty outside of it.
ORCA_EXPORT miBoolean velaFisheyeLens(miColor* result, miState* state, VelaFisheyeLensParameters* record) {
    const PicturePoint seen = picturePoint(*state);
    const miCamera& camera = *state->camera;
    const float x = seen.x * camera.aspect, y = seen.y; // in half heights of the picture
    const float circle = parameterValue(state, record, &P::fullFrame) ? std::hypot(camera.aspect, 1.0f)
                                                                      : std::min(camera.aspect, 1.0f);
    const float radius = std::hypot(x, y) / circle;
    const float halfAngle =
        0.5f * std::clamp(parameterValue(state, record, &P::angle), 0.0f, 360.0f) * pi / 180.0f;
    if (radius > 1.0f) {
        *result = {0.0f, 0.0f, 0.0f, 0.0f};
        return miTRUE;
    }
    const float toAxis = angleAt(radius, halfAngle, parameterValue(state, record, &P::projection));
    const float outward = radius > 0.0f ? std::sin(toAxis) / (radius * circle) : 0.0f;
    const LensPixelAngle angle(state, halfAngle * camera.aspect * 2.0f /
                                          (circle * static_cast<float>(camera.x_resolution)));
    return traceCameraRay(result, state, {{0.0f, 0.0f, 0.0f}, {outward * x, outward * y, -std::cos(toAxis)}});
}

} // extern "C"

#include "declared/velaFisheyeLens.h"
