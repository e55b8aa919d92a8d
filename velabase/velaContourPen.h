// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"

#include <shader.h>

/// Look of a contour line.
struct ContourPen {
    miColor color;  ///< alpha: opacity
    miScalar width; ///< percent of the picture's width
};

/// Draws with the first pen at `share` 0, with the second at 1, evenly between.
inline void drawBetween(miContour_endpoint& line, const ContourPen& first, const ContourPen& second,
                        miScalar share) {
    line.color = (1.0f - share) * first.color + share * second.color;
    line.width = (1.0f - share) * first.width + share * second.width;
}
