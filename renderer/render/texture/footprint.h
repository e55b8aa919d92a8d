// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/textures.h"

#include <shader.h>

namespace orca::render {

/// What one pixel covers of the first texture space at the hit: the cone of the pixel over the whole length
/// of the path, cut by the surface and mapped by its derivatives. Zero where the surface has none. Mirrors
/// and lenses on the way are taken as flat: what they spread further is left to the samples of the pixel.
[[nodiscard]] image::Footprint footprintOf(const miState* state);

} // namespace orca::render
