// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/film/pixel_window.h"
#include "render/sampling/noise_estimate.h"

namespace orca::render {

/// A few pixels that take many samples before the others are judged. Where one sample in fifty finds a small
/// bright light, most pixels and their neighbours look finished after their first samples, and a picture that
/// believed them would be too dark. The pixels lie on a grid, and each of its cells has the noise of its four
/// corners, the largest left out: that one may be on an edge.
class NoiseSurvey {
public:
    /// @param bounds of the picture, or of a region of it
    explicit NoiseSurvey(const PixelWindow& bounds) : bounds_(bounds) {}

    /// Whether there are fewer samples at first than a survey finds, and more in the end, for these levels.
    [[nodiscard]] static constexpr bool isOfUse(int minLevel, int maxLevel) {
        return minLevel >= 0 && minLevel <= level - 2 && maxLevel >= level;
    }
    /// Samples that the pixels of the grid take.
    static constexpr int level = 3;

    [[nodiscard]] bool isOnGrid(int x, int y) const {
        return ((x - bounds_.xl) % spacing == 0 || x == bounds_.xh) &&
               ((y - bounds_.yl) % spacing == 0 || y == bounds_.yh);
    }
    /// The cells that a window touches, with their corners.
    [[nodiscard]] PixelWindow cellsAround(const PixelWindow& window) const;
    /// Of the cell that a pixel is in.
    [[nodiscard]] DisplayedVariance varianceAt(const Film& film, int x, int y) const;

private:
    static constexpr int spacing = 16; // pixels; 1/256 of them is enough to cost little

    PixelWindow bounds_;
};

} // namespace orca::render
