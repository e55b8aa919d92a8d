// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/film/pixel_window.h"
#include "render/sampling/noise_survey.h"

#include <optional>
#include <vector>

namespace orca::render {

/// Pixels from one sample to the next at a negative level, 1 at the others.
[[nodiscard]] constexpr int strideAt(int level) {
    return level >= 0 ? 1 : 1 << -level;
}

/// The pixels that adaptive sampling needs for a window of a picture, or of a region of it: its own and those
/// around it on which decisions at its border depend, so that windows rendered apart make the same picture as
/// one render of the whole.
class SampledArea {
public:
    /// @param bounds of the region, beyond which no decision looks
    /// @param window pixels whose values are wanted, within the region
    /// @param minLevel,maxLevel as in the options: level n is 4^n samples a pixel, a negative level one
    /// sample every 2^-n pixels
    SampledArea(const PixelWindow& bounds, const PixelWindow& window, int minLevel, int maxLevel);

    [[nodiscard]] const PixelWindow& bounds() const { return bounds_; }
    [[nodiscard]] int minLevel() const { return minLevel_; }
    [[nodiscard]] int maxLevel() const { return maxLevel_; }
    /// Encloses all pixels that take samples. Negative levels: begins a multiple of their stride from the
    /// region's lower left.
    [[nodiscard]] const PixelWindow& sampled() const { return sampled_; }
    /// Pixels that take the samples of the lowest level.
    [[nodiscard]] const PixelWindow& dense() const { return dense_; }
    /// Takes samples outside of the dense window too; none where it would not find more than pixels do.
    [[nodiscard]] const std::optional<NoiseSurvey>& survey() const { return survey_; }

    /// Number of a decision at a level of 0 or above, from 0.
    [[nodiscard]] int decisionAt(int level) const;
    /// Pixels that a decision has to be right for.
    [[nodiscard]] PixelWindow decidedBy(int decision) const;
    /// Whether a decision looks at the neighbours of a pixel. Each that does makes the picture depend on one
    /// more ring of pixels.
    [[nodiscard]] static constexpr bool comparesNeighbours(int decision) {
        return decision < decisionsWithNeighbours;
    }

private:
    static constexpr int decisionsWithNeighbours = 3;

    [[nodiscard]] PixelWindow expanded(const PixelWindow& window, int pixels) const;
    [[nodiscard]] PixelWindow wholeBlocks(const PixelWindow& window) const;

    PixelWindow bounds_;
    int minLevel_, maxLevel_;
    int rings_;
    PixelWindow needed_; // pixels whose final values the window depends on
    PixelWindow dense_, sampled_;
    std::optional<NoiseSurvey> survey_;
};

/// Of the regions of a picture (see overscan.h) that a window touches.
/// @param window within the bounds
[[nodiscard]] std::vector<SampledArea> sampledAreas(const PixelWindow& display, const PixelWindow& bounds,
                                                    const PixelWindow& window, int minLevel, int maxLevel);
/// Encloses all pixels that take samples.
/// @param areas at least one
[[nodiscard]] PixelWindow sampledBy(const std::vector<SampledArea>& areas);

} // namespace orca::render
