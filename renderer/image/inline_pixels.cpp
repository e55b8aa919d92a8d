// SPDX-License-Identifier: Apache-2.0
#include "image/inline_pixels.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace orca::image {

namespace {

/// One component; more than a byte is big-endian, four bytes are a float.
float component(const unsigned char* bytes, int size) {
    switch (size) {
    case 1: return static_cast<float>(bytes[0]) / 255.0f;
    case 2: return static_cast<float>(bytes[0] << 8 | bytes[1]) / 65535.0f;
    default:
        return std::bit_cast<float>(static_cast<std::uint32_t>(bytes[0]) << 24 |
                                    static_cast<std::uint32_t>(bytes[1]) << 16 |
                                    static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3]);
    }
}

miColor mixed(const miColor& a, const miColor& b, float share) {
    const float rest = 1.0f - share;
    return {a.r * rest + b.r * share, a.g * rest + b.g * share, a.b * rest + b.b * share,
            a.a * rest + b.a * share};
}

} // namespace

InlinePixels::InlinePixels(const scene::TextureElement& texture)
    : width_(texture.width), height_(texture.height) {
    const auto pixels = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
    const auto size = static_cast<std::size_t>(texture.bytesPerComponent);
    const unsigned char* bytes = texture.pixels.data();
    colors_.reserve(pixels);
    for (std::size_t i = 0; i < pixels; ++i) {
        float values[4] = {0, 0, 0, 1};
        for (int c = 0; c < texture.components; ++c, bytes += size) {
            if (c < 4) values[c] = component(bytes, texture.bytesPerComponent);
        }
        if (texture.components == 1) values[1] = values[2] = values[0];
        colors_.push_back({values[0], values[1], values[2], values[3]});
    }
}

miColor InlinePixels::nearest(float s, float t) const {
    const int x = std::min(static_cast<int>(s * static_cast<float>(width_)), width_ - 1);
    const int y = std::min(static_cast<int>(t * static_cast<float>(height_)), height_ - 1);
    return at(x, y);
}

miColor InlinePixels::bilinear(float s, float t) const {
    const float x = s * static_cast<float>(width_) - 0.5f, y = t * static_cast<float>(height_) - 0.5f;
    const float left = std::floor(x), below = std::floor(y);
    const auto wrapped = [](float index, int size) {
        const int whole = static_cast<int>(index);
        return whole < 0 ? size - 1 : whole % size;
    };
    const int x0 = wrapped(left, width_), x1 = wrapped(left + 1.0f, width_);
    const int y0 = wrapped(below, height_), y1 = wrapped(below + 1.0f, height_);
    return mixed(mixed(at(x0, y0), at(x1, y0), x - left), mixed(at(x0, y1), at(x1, y1), x - left), y - below);
}

} // namespace orca::image
