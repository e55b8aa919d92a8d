// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/contour/contour_sample.h"
#include "render/film/pixel_window.h"

#include <vector>

namespace orca::render {

class ContourTracer;

/// Finds the contour lines in a window: eye rays through the corners of its pixels, and where two neighbours
/// contrast, the place in between. The points on the four edges of a pixel are connected inside it.
/// @param segments are added to; none leaves its pixel
void findContours(ContourTracer& tracer, const PixelWindow& window, std::vector<ContourSegment>& segments);

} // namespace orca::render
