// SPDX-License-Identifier: Apache-2.0
#include "image/color_encoding.h"

#include <algorithm>
#include <cmath>

namespace orca::image {

namespace {

using Channel = float miColor::*;
constexpr Channel colorChannels[] = {&miColor::r, &miColor::g, &miColor::b};

float limited(float value) {
    return std::clamp(value, 0.0f, 1.0f);
}

void desaturate(miColor& color, const miColor& weight) {
    const float grey = limited(color.r * weight.r + color.g * weight.g + color.b * weight.b);
    float kept = 1.0f;
    for (const Channel channel : colorChannels) {
        const float value = color.*channel;
        if (value > 1.0f) kept = std::min(kept, (1.0f - grey) / (value - grey));
        else if (value < 0.0f) kept = std::min(kept, grey / (grey - value));
    }
    if (kept == 1.0f) return;
    for (const Channel channel : colorChannels) color.*channel = grey + kept * (color.*channel - grey);
}

void clip(miColor& color, scene::ColorClip mode) {
    color.a = limited(color.a);
    for (const Channel channel : colorChannels) {
        float& value = color.*channel;
        value = limited(value);
        if (mode == scene::ColorClip::Rgb) color.a = std::max(color.a, value);
        else if (mode == scene::ColorClip::Alpha) value = std::min(value, color.a);
    }
}

} // namespace

ColorEncoding colorEncodingOf(const scene::OptionsElement& options) {
    return {options.desaturate,    options.colorClip, options.premultiply,
            options.options.gamma, options.dither,    options.options.luminance_weight};
}

miColor encoded(miColor color, const ColorEncoding& encoding, bool holdsAlpha) {
    for (const Channel channel : {&miColor::r, &miColor::g, &miColor::b, &miColor::a})
        if (std::isnan(color.*channel)) color.*channel = 0.0f;
    if (encoding.desaturate) desaturate(color, encoding.luminanceWeight);
    clip(color, encoding.clip);
    for (const Channel channel : colorChannels) {
        float& value = color.*channel;
        if (!encoding.premultiply && holdsAlpha && color.a > 0.0f) value = std::min(value / color.a, 1.0f);
        if (encoding.gamma != 1.0f) value = std::pow(value, 1.0f / encoding.gamma);
    }
    return color;
}

} // namespace orca::image
