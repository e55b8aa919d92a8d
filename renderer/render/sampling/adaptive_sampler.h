// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/film/film.h"

#include <shader.h>

#include <cstdint>
#include <vector>

namespace orca::render {

/// Decides where a picture needs more samples. Works on finished passes over the whole picture, so the
/// decision does not depend on tiles or threads.
class AdaptiveSampler {
public:
    /// Levels as in the options: level n is 4^n samples a pixel, a negative level one sample every 2^-n
    /// pixels.
    AdaptiveSampler(const PixelWindow& window, int minLevel, int maxLevel, const miColor& contrast);

    /// A pass: these pixels take samples `firstSample` to `endSample` - 1.
    struct Pass {
        std::vector<std::uint8_t> pixels; ///< one per window pixel; empty: all
        unsigned firstSample, endSample;
    };
    /// First pass, the same for every picture.
    [[nodiscard]] Pass first() const;
    /// The pass after the last one; false when the picture is done.
    bool next(const Film& film, Pass& pass);
    /// Fills the pixels that took no sample from their neighbours.
    void fillGaps(Film& film) const;

    [[nodiscard]] int passesAtMost() const { return maxLevel_ - minLevel_ + 1; }

private:
    [[nodiscard]] bool differs(const miColor& a, const miColor& b) const;
    [[nodiscard]] bool pixelNeedsMore(const Film& film, int x, int y) const;
    Pass refineGrid(const Film& film, int stride) const;

    PixelWindow window_;
    int minLevel_, maxLevel_;
    int level_;
    miColor contrast_;
};

} // namespace orca::render
