// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/film/film.h"
#include "render/sampling/sampled_area.h"

#include <shader.h>

#include <cstdint>
#include <vector>

namespace orca::render {

/// Decides where a picture needs more samples. Works on finished passes over the whole area, so the decision
/// does not depend on tiles or threads.
class AdaptiveSampler {
public:
    AdaptiveSampler(const SampledArea& area, const miColor& contrast);

    /// A pass: these pixels take samples `firstSample` to `endSample` - 1.
    struct Pass {
        std::vector<std::uint8_t> pixels; ///< one per pixel of the sampled area; empty: all
        unsigned firstSample, endSample;
    };
    /// First pass, the same for every picture.
    [[nodiscard]] Pass first() const;
    /// The pass after the last one; false when the picture is done.
    bool next(const Film& film, Pass& pass);
    /// Fills the pixels that took no sample from their neighbours.
    void fillGaps(Film& film) const;

    /// Where the decisions have come to: what `next` goes on from.
    [[nodiscard]] int level() const { return level_; }
    void resumeAt(int level) { level_ = level; }
    [[nodiscard]] int passesAtMost() const { return area_.maxLevel() - area_.minLevel() + 1; }

private:
    [[nodiscard]] bool differs(const miColor& a, const miColor& b) const;
    [[nodiscard]] bool pixelNeedsMore(const Film& film, int x, int y) const;
    [[nodiscard]] std::vector<std::uint8_t> noPixels() const;
    [[nodiscard]] std::size_t index(int x, int y) const;
    [[nodiscard]] Pass refineGrid(const Film& film) const;
    [[nodiscard]] Pass refinePixels(const Film& film) const;

    SampledArea area_;
    int level_;
    miColor contrast_;
};

} // namespace orca::render
