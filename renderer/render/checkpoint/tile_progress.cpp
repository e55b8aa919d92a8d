// SPDX-License-Identifier: Apache-2.0
#include "render/checkpoint/tile_progress.h"

#include <algorithm>

namespace orca::render {

namespace {

std::size_t tilesIn(int pixels, int tileSize) {
    return static_cast<std::size_t>((pixels + tileSize - 1) / tileSize);
}

} // namespace

void RenderTally::add(const RenderTally& other) {
    counts.add(other.counts);
    if (written.size() < other.written.size()) written.resize(other.written.size());
    for (std::size_t i = 0; i < other.written.size(); ++i) written[i] |= other.written[i];
}

TileProgress::TileProgress(Film& film, int tileSize)
    : film_(film),
      tileSize_(tileSize),
      tiles_(tilesIn(film.sampledWindow().width(), tileSize) *
             tilesIn(film.sampledWindow().height(), tileSize)) {
    const PixelWindow& area = film.sampledWindow();
    std::size_t tile = 0;
    for (int y = area.yl; y <= area.yh; y += tileSize)
        for (int x = area.xl; x <= area.xh; x += tileSize)
            tiles_[tile++].window = {x, y, std::min(x + tileSize - 1, area.xh),
                                     std::min(y + tileSize - 1, area.yh)};
}

void TileProgress::restart() {
    for (Tile& tile : tiles_) {
        const std::lock_guard lock(tile.mutex);
        tile.finished = 0;
    }
}

void TileProgress::store(std::size_t index, std::uint32_t finished, int x, int y, const float* pixel,
                         const RenderTally& since) {
    Tile& tile = tiles_[index];
    const std::lock_guard lock(tile.mutex);
    std::copy_n(pixel, film_.pixelWords(), film_.pixel(x, y));
    tile.finished = finished;
    tile.tally.add(since);
}

void TileProgress::read(std::size_t index, Copy& copy) {
    Tile& tile = tiles_[index];
    const std::size_t rowWords = static_cast<std::size_t>(tile.window.width()) * film_.pixelWords();
    copy.pixels.resize(rowWords * static_cast<std::size_t>(tile.window.height()));
    const std::lock_guard lock(tile.mutex);
    copy.finished = tile.finished;
    copy.tally = tile.tally;
    float* to = copy.pixels.data();
    for (int y = tile.window.yl; y <= tile.window.yh; ++y, to += rowWords)
        std::copy_n(film_.pixel(tile.window.xl, y), rowWords, to);
}

void TileProgress::restore(std::size_t index, const Copy& copy) {
    Tile& tile = tiles_[index];
    tile.finished = copy.finished;
    tile.tally = copy.tally;
    const std::size_t rowWords = static_cast<std::size_t>(tile.window.width()) * film_.pixelWords();
    const float* from = copy.pixels.data();
    for (int y = tile.window.yl; y <= tile.window.yh; ++y, from += rowWords)
        std::copy_n(from, rowWords, film_.pixel(tile.window.xl, y));
}

RenderTally TileProgress::tally() {
    RenderTally sum;
    for (Tile& tile : tiles_) {
        const std::lock_guard lock(tile.mutex);
        sum.add(tile.tally);
    }
    return sum;
}

} // namespace orca::render
