// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the lens shaders share: the sample's place in the picture, and eye rays in camera space.

#include "orcaGuards.h"
#include "orcaVelaState.h"

#include <shader.h>

#include <optional>

/// The eyes of a stereo picture.
enum StereoEye : miInteger { EYE_CENTRE = 0, EYE_LEFT = 1, EYE_RIGHT = 2, EYE_BOTH = 3 };

/// A ray in camera space. The direction has any length.
struct CameraRay {
    miVector origin, direction;
};

/// A point of the picture: -1 to 1 from its left to its right edge and from its lower to its upper edge.
struct PicturePoint {
    miScalar x, y;
};

/// Where the state's sample lies in the whole picture, whatever part of it is rendered.
[[nodiscard]] PicturePoint picturePoint(const miState& state);

/// The state's eye ray, as the camera or the lens shader before made it.
[[nodiscard]] CameraRay cameraRay(miState* state);

/// Goes on with a ray: to the next lens shader, or into the scene.
miBoolean traceCameraRay(miColor* result, miState* state, CameraRay ray);

/// While it lives, filter sizes are those of a lens whose pixels cover another angle than the camera's.
class LensPixelAngle {
public:
    /// @param angle of one pixel of the lens, radians
    LensPixelAngle(miState* state, miScalar angle);

private:
    std::optional<Restored<miScalar>> filterBase_; ///< none without the base state
};
