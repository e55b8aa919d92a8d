// SPDX-License-Identifier: Apache-2.0
#include "diff/difference_picture.h"

#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <stdexcept>

namespace orca::app {

namespace {

constexpr int gap = 4; // pixels between tiles

struct Sheet {
    int width, height;
    std::vector<std::uint8_t> pixels; // red, green, blue

    void put(int x, int y, float share) {
        const auto level = [&](float from) {
            return static_cast<std::uint8_t>(
                std::lround(255.0f * std::clamp(3.0f * share - from, 0.0f, 1.0f)));
        };
        constexpr std::uint8_t leastRed = 64; // so that small differences can be seen
        std::uint8_t* const at =
            pixels.data() +
            3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x));
        at[0] = share > 0.0f ? std::max(leastRed, level(0.0f)) : 0;
        at[1] = level(1.0f);
        at[2] = level(2.0f);
    }
};

} // namespace

void writeDifferencePicture(const std::string& path, const std::vector<DifferenceTile>& tiles, float white) {
    const auto across = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(tiles.size()))));
    const int down = (static_cast<int>(tiles.size()) + across - 1) / across;
    int width = 0, height = 0;
    for (const DifferenceTile& tile : tiles) {
        width = std::max(width, tile.width);
        height = std::max(height, tile.height);
    }
    Sheet sheet{across * (width + gap) - gap, down * (height + gap) - gap, {}};
    sheet.pixels.assign(3 * static_cast<std::size_t>(sheet.width) * static_cast<std::size_t>(sheet.height),
                        48);
    for (std::size_t i = 0; i < tiles.size(); ++i) {
        const int left = static_cast<int>(i) % across * (width + gap);
        const int top = static_cast<int>(i) / across * (height + gap);
        const float* apart = tiles[i].perPixel.data();
        for (int y = 0; y < tiles[i].height; ++y)
            for (int x = 0; x < tiles[i].width; ++x) sheet.put(left + x, top + y, *apart++ / white);
    }
    const std::unique_ptr<OIIO::ImageOutput> file = OIIO::ImageOutput::create(path);
    if (!file || !file->open(path, OIIO::ImageSpec(sheet.width, sheet.height, 3, OIIO::TypeUInt8)) ||
        !file->write_image(OIIO::TypeUInt8, sheet.pixels.data()) || !file->close())
        throw std::runtime_error(
            fmt::format("\"{}\" cannot be written: {}", path, file ? file->geterror() : OIIO::geterror()));
}

} // namespace orca::app
