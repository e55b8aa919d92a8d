// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/film/pixel_window.h"

namespace orca::render {

/// Samples of a pixel at a level of the options: 4^level, one at negative levels.
[[nodiscard]] constexpr unsigned samplesAt(int level) {
    return level <= 0 ? 1u : 1u << (2 * level);
}

/// Pixels from one sample to the next at a negative level, 1 at the others.
[[nodiscard]] constexpr int strideAt(int level) {
    return level >= 0 ? 1 : 1 << -level;
}

/// From 16 samples on, an edge shows in a pixel's own samples; below, a pixel is compared with its
/// neighbours.
inline constexpr int firstTrustedLevel = 2;

/// The pixels that adaptive sampling needs for a window: its own and those around it on which decisions at
/// its border depend, so that windows rendered apart make the same picture as one render of the whole.
class SampledArea {
public:
    /// @param width,height of the whole picture, pixels
    /// @param window pixels whose values are wanted, within the picture
    /// @param minLevel,maxLevel as in the options: level n is 4^n samples a pixel, a negative level one
    /// sample every 2^-n pixels
    SampledArea(int width, int height, const PixelWindow& window, int minLevel, int maxLevel);

    [[nodiscard]] int width() const { return width_; }
    [[nodiscard]] int height() const { return height_; }
    [[nodiscard]] int minLevel() const { return minLevel_; }
    [[nodiscard]] int maxLevel() const { return maxLevel_; }
    /// All pixels that take samples. Negative levels: begins at a multiple of their stride.
    [[nodiscard]] const PixelWindow& sampled() const { return sampled_; }
    /// Those that a decision at a level of 0 or above has to be right for.
    [[nodiscard]] PixelWindow decidedAt(int level) const;

private:
    [[nodiscard]] PixelWindow expanded(const PixelWindow& window, int pixels) const;
    [[nodiscard]] PixelWindow wholeBlocks(const PixelWindow& window) const;

    int width_, height_, minLevel_, maxLevel_;
    PixelWindow needed_; // pixels whose final values the window depends on
    PixelWindow sampled_;
};

} // namespace orca::render
