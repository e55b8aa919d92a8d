// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/sampled_area.h"

#include <algorithm>

namespace orca::render {

SampledArea::SampledArea(int width, int height, const PixelWindow& window, int minLevel, int maxLevel)
    : width_(width), height_(height), minLevel_(minLevel), maxLevel_(maxLevel), needed_(wholeBlocks(window)) {
    // Each decision that compares a pixel with its neighbours makes it depend on one more ring of pixels.
    const int rings = std::max(0, std::min(maxLevel, firstTrustedLevel) - std::max(minLevel, 0));
    sampled_ = wholeBlocks(expanded(needed_, rings));
}

PixelWindow SampledArea::decidedAt(int level) const {
    return expanded(needed_, std::max(0, std::min(maxLevel_, firstTrustedLevel) - level - 1));
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
