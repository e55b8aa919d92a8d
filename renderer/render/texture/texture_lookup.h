// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/textures.h"

#include <shader.h>

namespace orca::render {

// Texture look-ups at `coord`, (0, 0) lower left and (1, 1) upper right. Image files and pixels come from the
// texture cache; procedural textures and plain texture shaders are called with the coordinate in
// `state->tex`. False, and the result untouched, for a null tag or an image that cannot be read. Without
// `how` the texture's own statement decides: nearest texel, or filtered over the footprint of the hit.

miBoolean lookUpColor(miColor& result, miState* state, miTag texture, const miVector& coord,
                      const image::TextureLookup* how = nullptr);
/// Filtered over the footprint that the first two rows of a matrix from screen to texture space span; its
/// fourth row is the coordinate. `filter` may be null: repeated, linear where magnified, footprint as it is.
miBoolean lookUpFilteredColor(miColor& result, miState* state, miTag texture, const miTexfilter* filter,
                              const miScalar* screenToTexture);
miBoolean lookUpScalar(miScalar& result, miState* state, miTag texture, const miVector& coord);
miBoolean lookUpVector(miVector& result, miState* state, miTag texture, const miVector& coord);

} // namespace orca::render
