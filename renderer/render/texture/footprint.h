// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/textures.h"

#include <shader.h>

namespace orca::render {

/// Width of a pixel's cone at the hit, over the whole length of the path; scene units.
[[nodiscard]] float pixelWidth(const miState* state);

/// How a hit moves along its surface from a pixel to the next.
struct SurfaceSteps {
    miVector x, y; ///< internal space
};
/// Of eye rays without lens shaders, exactly; else the axes of the pixel's footprint.
[[nodiscard]] SurfaceSteps surfaceSteps(const miState* state);

/// Footprint of these steps in the first texture space. Zero where the surface has no derivatives.
[[nodiscard]] image::Footprint footprintOf(const miState* state, const SurfaceSteps& steps);

/// Footprint of one pixel in the first texture space at the hit: the pixel's cone over the whole length of
/// the path, intersected with the surface and mapped by its derivatives. Zero where the surface has none.
/// Mirrors and lenses along the path count as flat; how much more they spread the cone is left to the pixel's
/// samples.
[[nodiscard]] image::Footprint footprintOf(const miState* state);

} // namespace orca::render
