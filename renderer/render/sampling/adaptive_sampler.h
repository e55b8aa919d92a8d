// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/film/film.h"
#include "render/sampling/noise_estimate.h"
#include "render/sampling/sampled_area.h"

#include <shader.h>

#include <cstdint>
#include <vector>

namespace orca::render {

/// Decides where a picture needs more samples. Works on finished passes over the whole area, so the decision
/// does not depend on tiles or threads.
///
/// At levels of 0 and above, the noise of a pixel is estimated (see noise_estimate.h), and the pixel takes as
/// many samples as that noise asks for: until the standard error of its mean is below `contrast` times
/// 0.06 n^(1/4) for n samples, at most those of the next level. Every decision looks at all pixels again, so
/// that noise which one of them found reaches its neighbours. The factor n^(1/4) lies between the same error
/// in all pixels, which spends most of the samples on a few of them, and the same gain from each sample,
/// n^(1/2), which makes the error of a picture least (F. Rousselle, C. Knaus and M. Zwicker, "Adaptive
/// Sampling and Reconstruction using Greedy Error Minimization", 2011) but leaves noise where there is much
/// of it.
class AdaptiveSampler {
public:
    /// @param areas at least one, all of the same levels
    AdaptiveSampler(std::vector<SampledArea> areas, const miColor& contrast);

    /// For each pixel of the window that encloses the areas, row by row, the step (see sample_steps.h) up to
    /// which it takes samples; 0 where it takes none. Empty: no pass.
    using Pass = std::vector<std::uint8_t>;
    /// First pass, the same for every picture.
    [[nodiscard]] Pass first() const;
    /// The pass after the last one; empty when the picture is done. Works on the threads of the current
    /// arena.
    [[nodiscard]] Pass next(const Film& film);
    /// Fills the pixels that took no sample from their neighbours.
    void fillGaps(Film& film) const;

    /// Where the decisions have come to: what `next` goes on from.
    [[nodiscard]] int level() const { return level_; }
    void resumeAt(int level) { level_ = level; }
    [[nodiscard]] int passesAtMost() const { return maxLevel() - minLevel() + 1; }

private:
    [[nodiscard]] int minLevel() const { return areas_.front().minLevel(); }
    [[nodiscard]] int maxLevel() const { return areas_.front().maxLevel(); }
    [[nodiscard]] bool differs(const miColor& a, const miColor& b) const;
    [[nodiscard]] bool isTooNoisy(const DisplayedVariance& variance, int step) const;
    [[nodiscard]] DisplayedVariance varianceAt(const Film& film, const SampledArea& area, int x, int y) const;
    [[nodiscard]] int stepWanted(const Film& film, const SampledArea& area, int x, int y) const;
    [[nodiscard]] Pass noSamples() const;
    [[nodiscard]] std::size_t index(int x, int y) const;
    void first(const SampledArea& area, Pass& pass) const;
    void refineGrid(const Film& film, const SampledArea& area, Pass& pass) const;
    void refinePixels(const Film& film, const SampledArea& area, Pass& pass) const;
    static void fillGaps(Film& film, const SampledArea& area);

    std::vector<SampledArea> areas_;
    PixelWindow sampled_; // encloses theirs
    int level_;
    miColor contrast_;
    DisplayedVariance toleratedVariance_; // of the mean of one sample
};

} // namespace orca::render
