// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Parameters of velaBump2d, in declaration order.
struct VelaBump2dParameters {
    miScalar height; // connected: the height of the surface, as a share of `depth`
    miScalar depth;  // scene units; negative: heights become depths
    miScalar filter; // distance of the two heights that make a slope, in pixels
    miVector normal; // connected: the normal to bend; else the shading normal
};
