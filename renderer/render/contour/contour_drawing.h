// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/contour/contour_sample.h"
#include "render/film/pixel_window.h"

#include <cstddef>
#include <span>

namespace orca::render {

/// Colours of a finished picture, to be changed.
struct ColorPixels {
    float* first;          ///< red of the window's lower left pixel; green, blue and alpha follow
    std::size_t stride;    ///< words from a pixel to the next
    std::size_t rowStride; ///< words from a row to the next, bottom up
};

/// Draws lines over pictures with round ends, antialiased with a box of one pixel. Of lines that cover each
/// other the nearest is drawn; none covers its own continuation twice, so that half opaque lines are even.
/// @param pictureWidth pixels, which widths of lines are percentages of
void drawContours(std::span<const ContourSegment> segments, int pictureWidth, const PixelWindow& window,
                  std::span<const ColorPixels> pictures, int threads);

} // namespace orca::render
