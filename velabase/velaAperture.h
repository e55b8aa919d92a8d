// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The aperture of a camera's lens, whose shape blurred highlights show.

#include "velaLens.h"

#include <shader.h>

/// A point of the lens, in radii of its aperture.
struct LensPoint {
    miScalar x, y;
};

struct Aperture {
    miInteger blades;        ///< sides; below 3: round
    miScalar rotation;       ///< radians
    miScalar curvature;      ///< 0: straight blades; 1: round
    miScalar squeeze;        ///< height over width of an anamorphic lens
    miScalar edgeBrightness; ///< 0: even; above: a bright rim; below: a bright middle
    miScalar catsEye; ///< how far the lens's barrel covers the aperture at the picture's corners, in radii
};

/// A point of the aperture as the state's sample sees it, by the state's next sample point.
[[nodiscard]] LensPoint pointOnAperture(const Aperture& aperture, miState* state);
