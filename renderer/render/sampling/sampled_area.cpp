// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/sampled_area.h"

#include <algorithm>

namespace orca::render {

SampledArea::SampledArea(int width, int height, const PixelWindow& window, int minLevel, int maxLevel)
    : width_(width),
      height_(height),
      minLevel_(minLevel),
      maxLevel_(maxLevel),
      rings_(std::clamp(maxLevel - std::max(minLevel, 0), 0, decisionsWithNeighbours)),
      needed_(wholeBlocks(window)),
      dense_(wholeBlocks(expanded(needed_, rings_))),
      sampled_(dense_) {
    if (!NoiseSurvey::isOfUse(minLevel, maxLevel)) return;
    survey_.emplace(width, height);
    const PixelWindow cells = survey_->cellsAround(decidedBy(0));
    sampled_ = {std::min(dense_.xl, cells.xl), std::min(dense_.yl, cells.yl), std::max(dense_.xh, cells.xh),
                std::max(dense_.yh, cells.yh)};
}

int SampledArea::decisionAt(int level) const {
    return level - std::max(minLevel_, 0);
}

PixelWindow SampledArea::decidedBy(int decision) const {
    return expanded(needed_, std::max(0, rings_ - 1 - decision));
}

PixelWindow SampledArea::expanded(const PixelWindow& window, int pixels) const {
    return {std::max(window.xl - pixels, 0), std::max(window.yl - pixels, 0),
            std::min(window.xh + pixels, width_ - 1), std::min(window.yh + pixels, height_ - 1)};
}

/// The blocks of the coarsest grid that the window touches, with the blocks before them, which share their
/// first row and column.
PixelWindow SampledArea::wholeBlocks(const PixelWindow& window) const {
    const int stride = strideAt(minLevel_);
    if (stride == 1) return window;
    return {std::max(window.xl / stride - 1, 0) * stride, std::max(window.yl / stride - 1, 0) * stride,
            std::min((window.xh / stride + 1) * stride, width_ - 1),
            std::min((window.yh / stride + 1) * stride, height_ - 1)};
}

} // namespace orca::render
