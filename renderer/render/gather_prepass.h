// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/gather/gather_cache.h"
#include "render/tile_renderer.h"

namespace orca::render {

/// Fills the frame's gather caches before the picture is rendered: casts eye rays through a coarse grid of
/// pixels, then through ever finer ones, and makes a record where those so far do not reach. All points of a
/// grid see the same records, those of the coarser grids; new records are added in the order of the points.
/// So the records are the same for any number of threads. The grid covers the whole picture, not only its
/// window, so that windows rendered apart fit together. Nothing to do where the frame has no caches or the
/// state says that it is done.
/// @param caches those that the state adds the records to
/// False when the render was stopped.
bool gatherPrepass(TileRenderer& tiles, const Frame& frame, const GatherCaches& caches, RenderState& state);

} // namespace orca::render
