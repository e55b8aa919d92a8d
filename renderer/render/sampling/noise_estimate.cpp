// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/noise_estimate.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

using Channels = std::array<float, 4>;

Channels channelsOf(const miColor& color) {
    return {color.r, color.g, color.b, color.a};
}

/// What a channel's differences are divided by to be those of the display.
float scaleOf(float mean) {
    return std::max(1.0f, std::abs(mean));
}

/// Calls `visit` for the pixels with samples among a pixel and its neighbours, row by row.
template <class Visit>
void forSampledAround(const Film& film, const PixelWindow& area, int x, int y, Visit&& visit) {
    for (int ny = std::max(y - 1, area.yl); ny <= std::min(y + 1, area.yh); ++ny)
        for (int nx = std::max(x - 1, area.xl); nx <= std::min(x + 1, area.xh); ++nx)
            if (film.sampled(nx, ny)) visit(nx, ny);
}

} // namespace

DisplayedVariance ownVariance(const Film& film, int x, int y) {
    if (film.stepsDone(film.pixel(x, y)) < 2) return {};
    DisplayedVariance variance = channelsOf(film.sampleVariance(x, y));
    const Channels mean = channelsOf(film.mean(x, y));
    for (std::size_t c = 0; c < variance.size(); ++c) variance[c] /= scaleOf(mean[c]) * scaleOf(mean[c]);
    return variance;
}

DisplayedVariance varianceAround(const Film& film, const PixelWindow& area, int x, int y) {
    const Channels own = channelsOf(film.mean(x, y));
    Channels sum{}, squares{}; // of differences from the pixel
    float count = 0.0f;
    forSampledAround(film, area, x, y, [&](int nx, int ny) {
        const Channels mean = channelsOf(film.mean(nx, ny));
        for (std::size_t c = 0; c < mean.size(); ++c) {
            const float difference = (mean[c] - own[c]) / scaleOf(own[c]);
            sum[c] += difference;
            squares[c] += difference * difference;
        }
        count += 1.0f;
    });
    DisplayedVariance variance{};
    if (count < 2.0f) return variance;
    for (std::size_t c = 0; c < variance.size(); ++c)
        variance[c] = (squares[c] - sum[c] * sum[c] / count) / (count - 1.0f);
    return variance;
}

DisplayedVariance smoothedVariance(const Film& film, const PixelWindow& area, int x, int y) {
    DisplayedVariance sum{};
    float count = 0.0f;
    forSampledAround(film, area, x, y, [&](int nx, int ny) {
        const DisplayedVariance variance = ownVariance(film, nx, ny);
        for (std::size_t c = 0; c < sum.size(); ++c) sum[c] += variance[c];
        count += 1.0f;
    });
    for (float& channel : sum) channel /= count;
    return larger(sum, ownVariance(film, x, y));
}

DisplayedVariance larger(const DisplayedVariance& a, const DisplayedVariance& b) {
    DisplayedVariance most{};
    for (std::size_t c = 0; c < most.size(); ++c) most[c] = std::max(a[c], b[c]);
    return most;
}

} // namespace orca::render
