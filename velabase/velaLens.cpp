// SPDX-License-Identifier: Apache-2.0
#include "velaLens.h"

#include "orcaVector.h"

PicturePoint picturePoint(const miState& state) {
    const miCamera& camera = *state.camera;
    return {2.0f * state.raster_x / static_cast<float>(camera.x_resolution) - 1.0f,
            2.0f * state.raster_y / static_cast<float>(camera.y_resolution) - 1.0f};
}

CameraRay cameraRay(miState* state) {
    CameraRay ray;
    mi_point_to_camera(state, &ray.origin, &state->org);
    mi_vector_to_camera(state, &ray.direction, &state->dir);
    return ray;
}

miBoolean traceCameraRay(miColor* result, miState* state, CameraRay ray) {
    miVector origin, direction;
    mi_point_from_camera(state, &origin, &ray.origin);
    mi_vector_from_camera(state, &direction, &ray.direction);
    direction = normalized(direction);
    return mi_trace_eye(result, state, &origin, &direction);
}

LensPixelAngle::LensPixelAngle(miState* state, miScalar angle) {
    VelabaseState* const vela = velabaseState(state);
    const miCamera& camera = *state->camera;
    if (!vela || camera.orthographic || !(camera.aperture > 0.0f)) return;
    filterBase_.emplace(vela->filterBase);
    const float cameraAngle = camera.aperture / (camera.focal * static_cast<float>(camera.x_resolution));
    vela->filterBase *= angle / cameraAngle;
}
