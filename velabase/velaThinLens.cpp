// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaVector.h"
#include "velaAperture.h"
#include "velaLens.h"

#include <shader.h>

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
    miScalar bladeCurvature; // 0: straight; 1: round
    miScalar squeeze;        // height over width of the aperture
    miScalar edgeBrightness; // of blurred highlights; 0: even
    miScalar catsEye;        // how far the barrel covers the aperture at the picture's corners, in radii
    miScalar shiftX, shiftY; // of the view, in widths of the picture
    miScalar tiltX, tiltY;   // degrees by which the plane of focus turns about the camera's axes
};

namespace {

using P = VelaThinLensParameters;

constexpr float radians = std::numbers::pi_v<float> / 180.0f;

float lensRadius(miState* state, P* record) {
    const float radius = parameterValue(state, record, &P::apertureRadius);
    if (radius > 0.0f) return radius;
    const float stop = parameterValue(state, record, &P::fStop);
    if (!(stop > 0.0f) || !state->camera || state->camera->orthographic) return 0.0f;
    return state->camera->focal * parameterValue(state, record, &P::lensScale) / (2.0f * stop);
}

Aperture aperture(miState* state, P* record) {
    return {parameterValue(state, record, &P::blades),
            parameterValue(state, record, &P::bladeRotation) * radians,
            parameterValue(state, record, &P::bladeCurvature),
            parameterValue(state, record, &P::squeeze),
            parameterValue(state, record, &P::edgeBrightness),
            parameterValue(state, record, &P::catsEye)};
}

/// Moves what the picture shows without turning the camera, so that vertical lines stay parallel.
void shiftView(miState* state, P* record, CameraRay& ray) {
    const miCamera& camera = *state->camera;
    const float x = parameterValue(state, record, &P::shiftX) * camera.aperture;
    const float y = parameterValue(state, record, &P::shiftY) * camera.aperture;
    if (camera.orthographic) {
        ray.origin = ray.origin + miVector{x, y, 0.0f};
    } else {
        const float perUnit = -ray.direction.z / camera.focal;
        ray.direction = ray.direction + miVector{x * perUnit, y * perUnit, 0.0f};
    }
}

/// Normal of the plane of focus, camera space, unit, towards the camera.
miVector focusNormal(miState* state, P* record) {
    const float x = parameterValue(state, record, &P::tiltX) * radians;
    const float y = parameterValue(state, record, &P::tiltY) * radians;
    return {std::sin(y) * std::cos(x), -std::sin(x), std::cos(y) * std::cos(x)};
}

/// Moves a ray to another point of the lens, so that it meets the old one in the plane of focus.
void moveOnLens(miState* state, P* record, float radius, float focus, CameraRay& ray) {
    const miVector normal = focusNormal(state, record);
    const float slope = dot(ray.direction, normal);
    // Along the plane of focus the view is sharp at infinity: the lens only displaces it.
    const float along = dot(miVector{0.0f, 0.0f, -focus} - ray.origin, normal) / slope;
    const LensPoint lens = pointOnAperture(aperture(state, record), state);
    const miVector sharp = ray.origin + ray.direction * along;
    ray.origin = {ray.origin.x + radius * lens.x, ray.origin.y + radius * lens.y, ray.origin.z};
    if (!std::isfinite(along)) return;
    // With a tilt, the plane may lie behind the camera; the ray then points away from where it meets the old
    // one.
    ray.direction = normalized(along > 0.0f ? sharp - ray.origin : ray.origin - sharp);
}

} // namespace

extern "C" {

ORCA_EXPORT int velaThinLens_version(void) {
    return 1;
}

/// Depth of field: every ray of a pixel starts on the lens and meets the others in the plane of focus.
ORCA_EXPORT miBoolean velaThinLens(miColor* result, miState* state, VelaThinLensParameters* record) {
    const float radius = lensRadius(state, record);
    const float focus = parameterValue(state, record, &P::focusDistance);
    const bool shifts = parameterValue(state, record, &P::shiftX) != 0.0f ||
                        parameterValue(state, record, &P::shiftY) != 0.0f;
    const bool blurs = radius > 0.0f && focus > 0.0f;
    if (!shifts && !blurs) return mi_trace_eye(result, state, &state->org, &state->dir);
    CameraRay ray = cameraRay(state);
    if (shifts) shiftView(state, record, ray);
    if (blurs && ray.direction.z < 0.0f) moveOnLens(state, record, radius, focus, ray);
    return traceCameraRay(result, state, ray);
}

} // extern "C"

#include "declared/velaThinLens.h"
