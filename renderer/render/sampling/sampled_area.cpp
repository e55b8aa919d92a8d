// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/sampled_area.h"

#include "render/film/overscan.h"

#include <algorithm>

namespace orca::render {

namespace {

PixelWindow enclosing(const PixelWindow& a, const PixelWindow& b) {
    return {std::min(a.xl, b.xl), std::min(a.yl, b.yl), std::max(a.xh, b.xh), std::max(a.yh, b.yh)};
}

} // namespace

SampledArea::SampledArea(const PixelWindow& bounds, const PixelWindow& window, int minLevel, int maxLevel)
    : bounds_(bounds),
      minLevel_(minLevel),
      maxLevel_(maxLevel),
      rings_(std::clamp(maxLevel - std::max(minLevel, 0), 0, decisionsWithNeighbours)),
      needed_(wholeBlocks(window)),
      dense_(wholeBlocks(expanded(needed_, rings_))),
      sampled_(dense_) {
    if (!NoiseSurvey::isOfUse(minLevel, maxLevel)) return;
    survey_.emplace(bounds);
    sampled_ = enclosing(dense_, survey_->cellsAround(decidedBy(0)));
}

int SampledArea::decisionAt(int level) const {
    return level - std::max(minLevel_, 0);
}

PixelWindow SampledArea::decidedBy(int decision) const {
    return expanded(needed_, std::max(0, rings_ - 1 - decision));
}

PixelWindow SampledArea::expanded(const PixelWindow& window, int pixels) const {
    return {std::max(window.xl - pixels, bounds_.xl), std::max(window.yl - pixels, bounds_.yl),
            std::min(window.xh + pixels, bounds_.xh), std::min(window.yh + pixels, bounds_.yh)};
}

/// The blocks of the coarsest grid that the window touches, with the blocks before them, which share their
/// first row and column.
PixelWindow SampledArea::wholeBlocks(const PixelWindow& window) const {
    const int stride = strideAt(minLevel_);
    if (stride == 1) return window;
    const auto before = [stride](int at, int first) {
        return first + std::max((at - first) / stride - 1, 0) * stride;
    };
    const auto behind = [stride](int at, int first, int last) {
        return std::min(first + ((at - first) / stride + 1) * stride, last);
    };
    return {before(window.xl, bounds_.xl), before(window.yl, bounds_.yl),
            behind(window.xh, bounds_.xl, bounds_.xh), behind(window.yh, bounds_.yl, bounds_.yh)};
}

std::vector<SampledArea> sampledAreas(const PixelWindow& display, const PixelWindow& bounds,
                                      const PixelWindow& window, int minLevel, int maxLevel) {
    std::vector<SampledArea> areas;
    for (const PixelWindow& region : overscanRegions(display, bounds))
        if (const auto part = intersection(region, window))
            areas.emplace_back(region, *part, minLevel, maxLevel);
    return areas;
}

PixelWindow sampledBy(const std::vector<SampledArea>& areas) {
    PixelWindow all = areas.front().sampled();
    for (const SampledArea& area : areas) all = enclosing(all, area.sampled());
    return all;
}

} // namespace orca::render
