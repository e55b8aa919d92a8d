// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/noise_survey.h"

#include <algorithm>

namespace orca::render {

PixelWindow NoiseSurvey::cellsAround(const PixelWindow& window) const {
    return {window.xl / spacing * spacing, window.yl / spacing * spacing,
            std::min((window.xh / spacing + 1) * spacing, width_ - 1),
            std::min((window.yh / spacing + 1) * spacing, height_ - 1)};
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
