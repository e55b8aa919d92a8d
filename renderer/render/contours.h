// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/frame.h"
#include "render/contour/contour_sample.h"
#include "render/frame_result.h"
#include "render/tile_renderer.h"

#include <vector>

namespace orca::render {

/// True where the options have the shaders that contours need. Says what is missing where the scene has a
/// part of them.
[[nodiscard]] bool hasContours(const Frame& frame);

/// Finds the contour lines that reach the window, far ones first. The same for any number of threads, and in
/// each window what they are in the whole picture. False when the render was stopped.
bool traceContours(TileRenderer& tiles, const Frame& frame, const PixelWindow& window,
                   std::vector<ContourSegment>& lines);

/// Draws the lines into the finished frame buffers for them; where there is none and no output shader has
/// asked for the lines, over the picture.
void drawContours(const Frame& frame, FrameResult& result, std::span<const ContourSegment> lines,
                  int threads);

} // namespace orca::render
