// SPDX-License-Identifier: Apache-2.0
#include "render/denoise/denoiser.h"

#include "render/denoise/joint_filter.h"
#include "render/film/sample_steps.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace orca::render {

namespace {

/// Of the means of a pixel and its neighbours, where the pixel has one sample and so no noise of its own.
miColor varianceAround(const Film& film, int x, int y) {
    const PixelWindow& window = film.window();
    miColor sum{}, squares{};
    float count = 0.0f;
    for (int j = std::max(y - 1, window.yl); j <= std::min(y + 1, window.yh); ++j)
        for (int i = std::max(x - 1, window.xl); i <= std::min(x + 1, window.xh); ++i) {
            if (!film.sampled(i, j)) continue;
            const miColor mean = film.mean(i, j);
            sum = {sum.r + mean.r, sum.g + mean.g, sum.b + mean.b, 0.0f};
            squares = {squares.r + mean.r * mean.r, squares.g + mean.g * mean.g, squares.b + mean.b * mean.b,
                       0.0f};
            count += 1.0f;
        }
    if (count < 2.0f) return {};
    const auto variance = [count](float total, float square) {
        return std::max(0.0f, square - total * total / count) / (count - 1.0f);
    };
    return {variance(sum.r, squares.r), variance(sum.g, squares.g), variance(sum.b, squares.b), 0.0f};
}

/// Filtered are means of samples: colours and numbers.
bool isFiltered(const image::Buffer& buffer) {
    return image::accumulationOf(buffer) == image::Accumulation::Mean;
}

} // namespace

Denoiser::Denoiser(const DenoiseSettings& settings, const Film& film) : settings_(settings) {
    const PixelWindow& window = film.window();
    const std::size_t pixels =
        static_cast<std::size_t>(window.width()) * static_cast<std::size_t>(window.height());
    variance_.reserve(3 * pixels);
    samples_.reserve(pixels);
    for (int y = window.yl; y <= window.yh; ++y)
        for (int x = window.xl; x <= window.xh; ++x) {
            const bool isSampled = film.sampled(x, y);
            const unsigned samples = isSampled ? samplesAfter(film.stepsDone(film.pixel(x, y))) : 0;
            const miColor variance = samples > 1    ? film.sampleVariance(x, y)
                                     : samples == 1 ? varianceAround(film, x, y)
                                                    : miColor{};
            variance_.insert(variance_.end(), {variance.r, variance.g, variance.b});
            // What was interpolated is smooth already.
            samples_.push_back(samples > 0 ? static_cast<float>(samples)
                                           : std::numeric_limits<float>::infinity());
        }
}

bool Denoiser::run(Film& film, const image::FramebufferSet& buffers, std::vector<float>& noisy, int threads,
                   const std::atomic<bool>* stop) const {
    FilterInput input{film.window().width(),
                      film.window().height(),
                      film.finishedWords(),
                      film.pixelWords(),
                      film.offsetOf(buffers.buffers()[static_cast<std::size_t>(buffers.primaryIndex())]),
                      variance_,
                      samples_,
                      {},
                      {}};
    for (const DenoiseSettings::Guide& guide : settings_.guides)
        if (const image::Buffer* const buffer = buffers.find(guide.buffer))
            input.guides.push_back({guide.kind, film.offsetOf(*buffer)});
    for (const image::Layer& layer : film.layers()) {
        const image::Buffer& buffer = *layer.buffer;
        const bool isGuide = std::any_of(settings_.guides.begin(), settings_.guides.end(),
                                         [&](const auto& guide) { return guide.buffer == buffer.name; });
        if (!isFiltered(buffer) || isGuide) continue;
        const std::size_t first = film.offsetOf(buffer), count = static_cast<std::size_t>(buffer.components);
        if (!input.words.empty() && input.words.back().first + input.words.back().second == first)
            input.words.back().second += count;
        else input.words.emplace_back(first, count);
    }
    std::vector<float> filtered(film.finishedWords().size());
    if (!filterJointly(input, filtered, threads, stop)) return false;
    film.finishedWords().swap(filtered);
    if (settings_.keepsNoisy) noisy = std::move(filtered);
    return true;
}

} // namespace orca::render
