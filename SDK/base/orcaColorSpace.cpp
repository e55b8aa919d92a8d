// SPDX-License-Identifier: Apache-2.0
#include "orcaColorSpace.h"

#include "orcaColor.h"

#include <algorithm>
#include <cmath>

void rgb_to_hsv(miColor* hsv, const miColor* rgb) {
    const miColor c = *rgb;
    const float value = largestChannel(c);
    const float range = value - std::min({c.r, c.g, c.b});
    float sextant = 0.0f;
    if (range > 0.0f) {
        if (c.r == value) sextant = (c.g - c.b) / range;
        else if (c.g == value) sextant = 2.0f + (c.b - c.r) / range;
        else sextant = 4.0f + (c.r - c.g) / range;
        if (sextant < 0.0f) sextant += 6.0f;
    }
    const float hue = sextant / 6.0f;
    *hsv = {hue < 1.0f ? hue : 0.0f, value > 0.0f ? range / value : 0.0f, value, c.a};
}

void hsv_to_rgb(miColor* rgb, const miColor* hsv) {
    const miColor c = *hsv;
    const float hue = (c.r - std::floor(c.r)) * 6.0f;
    // A channel falls linearly from the value to its minimum with its distance from the hue.
    const auto channel = [&](float offset) {
        const float k = std::fmod(hue + offset, 6.0f);
        return c.b - c.b * c.g * std::clamp(std::min(k, 4.0f - k), 0.0f, 1.0f);
    };
    *rgb = {channel(5.0f), channel(3.0f), channel(1.0f), c.a};
}
