// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/film/film.h"

#include <array>

namespace orca::render {

/// Variance from sample to sample of red, green, blue and alpha, as a display shows them: where a pixel's
/// mean is above 1, relative to it.
using DisplayedVariance = std::array<float, 4>;

/// Of a pixel's own samples; 0 with fewer than two.
[[nodiscard]] DisplayedVariance ownVariance(const Film& film, int x, int y);
/// Of the means of a pixel and its neighbours, for pixels with one sample: an edge counts as noise.
/// @param area pixels that may have samples
[[nodiscard]] DisplayedVariance varianceAround(const Film& film, const PixelWindow& area, int x, int y);
/// The larger one of a pixel's own and the mean over the 3 x 3 pixels around it. Few samples tell little of
/// their own noise, and less where they happen to be alike: smoothed after F. Rousselle, C. Knaus and
/// M. Zwicker, "Adaptive Rendering with Non-Local Means Filtering", 2012. Neighbours that were finished with
/// one sample count as without noise.
[[nodiscard]] DisplayedVariance smoothedVariance(const Film& film, const PixelWindow& area, int x, int y);

[[nodiscard]] DisplayedVariance larger(const DisplayedVariance& a, const DisplayedVariance& b);

} // namespace orca::render
