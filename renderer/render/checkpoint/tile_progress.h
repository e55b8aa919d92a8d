// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"
#include "render/film/film.h"
#include "render/film/pixel_window.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace orca::render {

/// How often shaders were called and rays traced, and which frame buffers shaders filled, for the pixels and
/// gather points that are finished.
struct RenderTally {
    RayCounts counts;
    std::vector<std::uint8_t> written; ///< by frame-buffer index

    void add(const RenderTally& other);
};

/// The film's tiles, and how far each has come in the pass that is being rendered. A tile is rendered by one
/// thread at a time; others may read a consistent copy of it meanwhile.
class TileProgress {
public:
    /// @param tileSize edge of a tile, pixels
    TileProgress(Film& film, int tileSize);

    [[nodiscard]] std::size_t count() const { return tiles_.size(); }
    [[nodiscard]] int tileSize() const { return tileSize_; }
    [[nodiscard]] const PixelWindow& window(std::size_t tile) const { return tiles_[tile].window; }
    /// Pixels of the tile that are finished in this pass, counted in rows from its lower left one.
    [[nodiscard]] std::uint32_t finished(std::size_t tile) const { return tiles_[tile].finished; }
    /// No tile has begun.
    void restart();

    /// Puts a finished pixel into the film.
    /// @param finished pixels of the tile that are finished with this one
    /// @param since what the pixel took
    void store(std::size_t tile, std::uint32_t finished, int x, int y, const float* pixel,
               const RenderTally& since);

    /// A tile at one moment.
    struct Copy {
        std::uint32_t finished = 0;
        RenderTally tally;
        std::vector<float> pixels; ///< `Film::pixelWords` for each pixel, in rows
    };
    void read(std::size_t tile, Copy& copy);
    /// Puts a tile back to what it was; no thread may be rendering.
    void restore(std::size_t tile, const Copy& copy);

    /// Of all tiles and passes.
    [[nodiscard]] RenderTally tally();

private:
    struct Tile {
        PixelWindow window;
        std::mutex mutex; // guards everything below and the tile's pixels in the film
        std::uint32_t finished = 0;
        RenderTally tally;
    };

    Film& film_;
    int tileSize_;
    std::vector<Tile> tiles_;
};

} // namespace orca::render
