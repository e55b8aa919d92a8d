// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/frame.h"
#include "render/contour/contour_sample.h"
#include "render/frame_result.h"
#include "render/tile_renderer.h"

#include <span>
#include <vector>

namespace orca::render {

/// True where the options have the shaders that contours need. Says what is missing where the scene has a
/// part of them.
[[nodiscard]] bool hasContours(const Frame& frame);

/// Lines of one region of the picture (see overscan.h), far ones first.
struct RegionContours {
    PixelWindow region;
    std::vector<ContourSegment> lines;
};

/// Finds the contour lines that reach the window. The same for any number of threads, and in each window what
/// they are in the whole picture. False when the render was stopped.
bool traceContours(TileRenderer& tiles, const Frame& frame, const std::vector<PixelWindow>& regions,
                   const PixelWindow& window, std::vector<RegionContours>& contours);

/// Draws the lines into the finished frame buffers for them, each inside its region; where there is none and
/// no output shader has asked for the lines, over the picture.
void drawContours(const Frame& frame, FrameResult& result, std::span<const RegionContours> contours,
                  int threads);

} // namespace orca::render
