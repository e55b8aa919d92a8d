// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/options_element.h"

#include <shader.h>

namespace orca::image {

/// How colours become the whole numbers of a file: what the options of a scene say of it. Files of floating
/// point numbers hold colours as they were rendered.
struct ColorEncoding {
    bool desaturate = false;
    scene::ColorClip clip = scene::ColorClip::Raw;
    bool premultiply = true;
    float gamma = 1.0f;  ///< above 0
    bool dither = false; ///< of 8-bit files, by their writer (see image_file.cpp)
    miColor luminanceWeight{0.299f, 0.587f, 0.114f, 0.0f};
};

[[nodiscard]] ColorEncoding colorEncodingOf(const scene::OptionsElement& options);

/// A rendered colour, which is multiplied by its alpha, as it goes into a file, each channel 0 to 1. In this
/// order:
/// - NaN becomes 0.
/// - `desaturate`: a colour with a channel outside 0..1 is mixed with the grey of its own luminance L
/// (limited
///   to 0..1), c' = L + t (c - L), with the largest t of at most 1 that brings r, g and b into the range.
/// - `clip`: Raw limits r, g, b and a to 0..1; Rgb does so and then raises a to the largest of r, g, b; Alpha
///   does so and then lowers r, g and b to a.
/// - not `premultiply`, in a file that holds alpha: r, g and b are divided by a, and limited to 1. Where a is
/// 0
///   they stay as they are.
/// - `gamma`: r, g and b become c^(1 / gamma); alpha stays linear.
[[nodiscard]] miColor encoded(miColor color, const ColorEncoding& encoding, bool holdsAlpha);

} // namespace orca::image
