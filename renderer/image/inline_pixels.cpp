// SPDX-License-Identifier: Apache-2.0
#include "image/inline_pixels.h"

#include "scene/elements/color_profile.h"

#include <bit>
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

std::vector<miColor> decoded(const scene::TextureElement& texture) {
    const auto pixels = static_cast<std::size_t>(texture.width) * static_cast<std::size_t>(texture.height);
    if (texture.pixels.empty()) return std::vector<miColor>(pixels);
    std::vector<miColor> colors;
    const auto size = static_cast<std::size_t>(texture.bytesPerComponent);
    const unsigned char* bytes = texture.pixels.data();
    const scene::ColorProfile profile = texture.colorProfile;
    const auto linear = [profile](float value) { return scene::linearFrom(profile, value); };
    colors.reserve(pixels);
    for (std::size_t i = 0; i < pixels; ++i) {
        float values[4] = {0, 0, 0, 1};
        for (int c = 0; c < texture.components; ++c, bytes += size) {
            if (c < 4) values[c] = component(bytes, texture.bytesPerComponent);
        }
        if (texture.components == 1) values[1] = values[2] = values[0];
        colors.push_back({linear(values[0]), linear(values[1]), linear(values[2]), values[3]});
    }
    return colors;
}

} // namespace

InlinePixels::InlinePixels(const scene::TextureElement& texture)
    : width_(texture.width),
      height_(texture.height),
      colors_(texture.baked ? texture.baked
                            : std::make_shared<const std::vector<miColor>>(decoded(texture))) {
}

} // namespace orca::image
