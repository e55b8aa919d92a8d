// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Displacement of the state's point over the shutter in raster space, in pixels. x is scaled to square
/// pixels; z is 0.
[[nodiscard]] miVector motionInRaster(miState* state);
