// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "placement.h"

namespace orca::bridge {

/// What a camera sees, as the scene's camera statement says it.
struct View {
    bool isParallel = false;
    double focal = 1; ///< at an aperture of `width`
    double width = 1; ///< of the image plane; of a parallel view in scene units
    double nearest = 0.01, farthest = 1e6;
};
/// @param aspect of the picture. Where the file states its own, or the height of the view alone, the height
/// is
///               kept.
/// @param scale of lengths from the file to the scene
[[nodiscard]] View viewOf(const aiCamera& camera, const ModelFile& model, double aspect, double scale);

/// From the camera's space to the scene's.
/// @param matrix of the camera's node
[[nodiscard]] Matrix cameraPlacement(const aiCamera& camera, const Matrix& matrix, const ModelFile& model);

/// A camera from the front, the right and above, that sees all of a box.
struct FramingCamera {
    View view;
    Matrix placement;
};
[[nodiscard]] FramingCamera framing(const Box& bounds, double aspect);

} // namespace orca::bridge
