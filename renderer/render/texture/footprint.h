// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/textures.h"

#include <shader.h>

namespace orca::render {

/// Footprint of one pixel in the first texture space at the hit: the pixel's cone over the whole length of
/// the path, intersected with the surface and mapped by its derivatives. Zero where the surface has none.
/// Mirrors and lenses along the path count as flat; how much more they spread the cone is left to the pixel's
/// samples.
[[nodiscard]] image::Footprint footprintOf(const miState* state);

} // namespace orca::render
