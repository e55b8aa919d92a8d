// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/gather/gather_cache.h"
#include "render/tile_renderer.h"

namespace orca::render {

/// Pixels between the points of the finest grid that light is gathered ahead on; 0: none is.
/// @param density points, as a multiple of one every 4 pixels in either direction
[[nodiscard]] int gatherSpacing(float density);

/// Gathers light ahead of the picture: looks at a coarse grid of pixels, then at ever finer ones, and gathers
/// where the records so far do not serve. Within a grid every point sees the same records, those of the grids
/// before; what the points add is put in their order. So the same records come out whatever the threads.
/// The whole picture counts, not only the window, so that windows fit together.
/// False when the render was stopped.
bool gatherPrepass(TileRenderer& tiles, const Frame& frame, GatherCaches& caches);

} // namespace orca::render
