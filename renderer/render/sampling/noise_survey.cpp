// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/noise_survey.h"

#include <algorithm>

namespace orca::render {

PixelWindow NoiseSurvey::cellsAround(const PixelWindow& window) const {
    const auto line = [](int at, int first) { return first + (at - first) / spacing * spacing; };
    return {line(window.xl, bounds_.xl), line(window.yl, bounds_.yl),
            std::min(line(window.xh, bounds_.xl) + spacing, bounds_.xh),
            std::min(line(window.yh, bounds_.yl) + spacing, bounds_.yh)};
}

DisplayedVariance NoiseSurvey::varianceAt(const Film& film, int x, int y) const {
    const PixelWindow cell = cellsAround({x, y, x, y});
    const DisplayedVariance corners[4] = {
        ownVariance(film, cell.xl, cell.yl), ownVariance(film, cell.xh, cell.yl),
        ownVariance(film, cell.xl, cell.yh), ownVariance(film, cell.xh, cell.yh)};
    DisplayedVariance variance{};
    for (std::size_t c = 0; c < variance.size(); ++c) {
        float sum = 0.0f, largest = 0.0f;
        for (const DisplayedVariance& corner : corners) {
            sum += corner[c];
            largest = std::max(largest, corner[c]);
        }
        variance[c] = std::max(0.0f, sum - largest) / 3.0f;
    }
    return variance;
}

} // namespace orca::render
