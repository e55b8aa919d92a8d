// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaVector.h"

#include <shader.h>

#include <algorithm>
#include <cmath>
#include <numbers>

/// Parameters of velaThinLens, in declaration order.
struct VelaThinLensParameters {
    miScalar focusDistance;  // scene units along the view axis; what lies there is sharp
    miScalar fStop;          // focal length over the diameter of the aperture
    miScalar lensScale;      // scene units per unit of the camera's focal length
    miScalar apertureRadius; // scene units; above 0: taken instead of fStop
    miInteger blades;        // sides of the aperture; below 3: round
    miScalar bladeRotation;  // degrees
};

namespace {

using P = VelaThinLensParameters;

constexpr float pi = std::numbers::pi_v<float>;

struct LensPoint {
    float x, y; ///< in radii of the lens
};

/// The unit square onto the unit disc with little distortion (P. Shirley, K. Chiu, "A Low Distortion Map
/// Between Disk and Square", 1997).
LensPoint onDisc(float s, float t) {
    const float a = 2.0f * s - 1.0f, b = 2.0f * t - 1.0f;
    if (a == 0.0f && b == 0.0f) return {0.0f, 0.0f};
    const bool wide = std::abs(a) > std::abs(b);
    const float radius = wide ? a : b;
    const float angle = wide ? 0.25f * pi * b / a : 0.5f * pi - 0.25f * pi * a / b;
    return {radius * std::cos(angle), radius * std::sin(angle)};
}

/// The unit square onto a regular polygon in the unit circle, evenly: one triangle of its fan a stratum.
LensPoint onPolygon(float s, float t, int sides, float rotation) {
    const float scaled = s * static_cast<float>(sides);
    const float side = std::min(std::floor(scaled), static_cast<float>(sides - 1));
    const float along = scaled - side;
    const float out = std::sqrt(t);
    const auto corner = [&](float index) {
        const float angle = rotation + 2.0f * pi * index / static_cast<float>(sides);
        return LensPoint{std::cos(angle), std::sin(angle)};
    };
    const LensPoint a = corner(side), b = corner(side + 1.0f);
    return {out * (a.x + along * (b.x - a.x)), out * (a.y + along * (b.y - a.y))};
}

float lensRadius(miState* state, P* record) {
    const float radius = parameterValue(state, record, &P::apertureRadius);
    if (radius > 0.0f) return radius;
    const float stop = parameterValue(state, record, &P::fStop);
    if (!(stop > 0.0f) || !state->camera || state->camera->orthographic) return 0.0f;
    return state->camera->focal * parameterValue(state, record, &P::lensScale) / (2.0f * stop);
}

LensPoint pointOnLens(miState* state, P* record) {
    double sample[2] = {0.5, 0.5};
    mi_sample(sample, nullptr, state, 2, nullptr);
    const auto s = static_cast<float>(sample[0]), t = static_cast<float>(sample[1]);
    const miInteger blades = parameterValue(state, record, &P::blades);
    if (blades < 3) return onDisc(s, t);
    return onPolygon(s, t, std::min(blades, 64),
                     parameterValue(state, record, &P::bladeRotation) * pi / 180.0f);
}

} // namespace

extern "C" {

ORCA_EXPORT int velaThinLens_version(void) {
    return 1;
}

/// Depth of field: every ray of a pixel starts on the lens and meets the others in the plane of focus.
ORCA_EXPORT miBoolean velaThinLens(miColor* result, miState* state, VelaThinLensParameters* record) {
    miVector origin = state->org, direction = state->dir;
    const float radius = lensRadius(state, record);
    const float focus = parameterValue(state, record, &P::focusDistance);
    if (radius > 0.0f && focus > 0.0f) {
        miVector eye, view;
        mi_point_to_camera(state, &eye, &origin);
        mi_vector_to_camera(state, &view, &direction);
        if (view.z < 0.0f) {
            const miVector sharp = eye + view * ((-focus - eye.z) / view.z);
            const LensPoint lens = pointOnLens(state, record);
            eye = {eye.x + radius * lens.x, eye.y + radius * lens.y, eye.z};
            view = normalized(sharp - eye);
            mi_point_from_camera(state, &origin, &eye);
            mi_vector_from_camera(state, &direction, &view);
            direction = normalized(direction);
        }
    }
    return mi_trace_eye(result, state, &origin, &direction);
}

} // extern "C"

#include "declared/velaThinLens.h"
