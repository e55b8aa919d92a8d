// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Parameters of velaChecker, in declaration order.
struct VelaCheckerParameters {
    miColor color1;       // of the squares at the corners (0, 0) and (1, 1)
    miColor color2;       // of the others
    miScalar contrast;    // 0: both colours are their mean
    miVector coordinate;  // connected: where to look; else the surface's first texture space
    miScalar filter;      // scale of the footprint; 0: a point
    miColor defaultColor; // outside the frame of a placement
};
