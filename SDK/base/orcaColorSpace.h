// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

extern "C" {

/// Hue, saturation and value of a colour, in red, green and blue of the result (Smith, "Color Gamut Transform
/// Pairs", 1978). Hue runs from 0 (red) over 1/3 (green) and 2/3 (blue) to below 1; it is 0 for greys.
/// Saturation is 0 to 1 for channels that are not negative; value is the largest channel and may exceed 1.
/// Alpha is copied. The arguments may be the same.
ORCA_EXPORT void rgb_to_hsv(miColor* hsv, const miColor* rgb);

/// The inverse of rgb_to_hsv. Hues outside 0 to 1 wrap around.
ORCA_EXPORT void hsv_to_rgb(miColor* rgb, const miColor* hsv);
}
