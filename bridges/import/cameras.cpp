// SPDX-License-Identifier: Apache-2.0
#include "cameras.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::bridge {

View viewOf(const aiCamera& camera, const ModelFile& model, double aspect, double scale) {
    View view;
    // Pictures beyond the far plane of viewers are meant to be seen.
    view.nearest = std::clamp(camera.mClipPlaneNear * scale, 1e-5, 1.0);
    if (camera.mOrthographicWidth > 0) {
        view.isParallel = true;
        view.width = 2 * camera.mOrthographicWidth * scale;
        if (camera.mAspect > 0) view.width *= aspect / camera.mAspect;
        return view;
    }
    // Readers give the whole angle, that of glTF the vertical one where the file has no aspect.
    const double angle = std::clamp<double>(camera.mHorizontalFOV, 0.001, 0.99 * std::numbers::pi);
    view.width = 2 * std::tan(angle / 2);
    if (camera.mAspect > 0) view.width *= aspect / camera.mAspect;
    else if (model.isGltf()) view.width *= aspect;
    return view;
}

Matrix cameraPlacement(const aiCamera& camera, const Matrix& matrix, const ModelFile& model) {
    // Assimp 5.2 moves cameras of glTF by their nodes' matrices once more; those of the format look along -z.
    if (model.isGltf()) return rigid(matrix, {0, 0, 0}, {0, 0, -1}, {0, 1, 0});
    return rigid(matrix, camera.mPosition, camera.mLookAt, camera.mUp);
}

FramingCamera framing(const Box& bounds, double aspect) {
    constexpr double verticalDegrees = 30, margin = 1.15;
    FramingCamera camera;
    const double slope = std::tan(verticalDegrees / 2 * std::numbers::pi / 180);
    camera.view.width = 2 * slope * aspect;
    const aiVector3D direction(-0.52f, -0.36f, -1.0f);
    const Matrix turn = rigid(Matrix(), {0, 0, 0}, direction, {0, 1, 0});
    // Far enough that every corner of the box is within the view's pyramid.
    const aiVector3t<double> centre = bounds.centre();
    double distance = 1e-3;
    Matrix back = turn;
    back.Inverse();
    for (int corner = 0; corner < 8; ++corner) {
        const aiVector3t<double> p = back * (aiVector3t<double>(corner & 1 ? bounds.high.x : bounds.low.x,
                                                                corner & 2 ? bounds.high.y : bounds.low.y,
                                                                corner & 4 ? bounds.high.z : bounds.low.z) -
                                             centre);
        distance = std::max({distance, p.z + margin * std::abs(p.y) / slope,
                             p.z + margin * std::abs(p.x) / (slope * aspect)});
    }
    camera.view.nearest = distance * 1e-4;
    camera.view.farthest = distance * 1e4;
    const aiVector3t<double> eye = centre + aiVector3t<double>(turn.a3, turn.b3, turn.c3) * distance;
    camera.placement = turn;
    camera.placement.a4 = eye.x;
    camera.placement.b4 = eye.y;
    camera.placement.c4 = eye.z;
    return camera;
}

} // namespace orca::bridge
