// SPDX-License-Identifier: Apache-2.0
#include "render/film/film.h"

#include "image/id_table.h"
#include "render/film/sample_steps.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

namespace orca::render {

namespace {

constexpr float farAway = std::numeric_limits<float>::infinity();
constexpr std::size_t colorWords = 4;

std::size_t pixelsIn(const PixelWindow& window) {
    return static_cast<std::size_t>(window.width()) * static_cast<std::size_t>(window.height());
}

/// All but the scratch buffer.
std::span<const image::Buffer> shownBuffers(const image::FramebufferSet& framebuffers) {
    return std::span(framebuffers.buffers()).subspan(1);
}

/// Words that sums have besides those of the buffers: weight, steps, deviations, distance.
constexpr std::size_t ownWords(bool hasUnfiltered) {
    return 2 + colorWords + (hasUnfiltered ? 1 : 0);
}

} // namespace

Film::Film(const image::FramebufferSet& framebuffers, const PixelWindow& window, const PixelWindow& sampled,
           std::size_t blocks)
    : framebuffers_(framebuffers),
      window_(window),
      sampled_(sampled),
      scratchWords_(static_cast<std::size_t>(framebuffers.buffers()[1].sampleOffset)),
      primaryOffset_(
          offsetOf(framebuffers.buffers()[static_cast<std::size_t>(framebuffers.primaryIndex())])) {
    for (const image::Buffer& buffer : shownBuffers(framebuffers)) {
        const int first = static_cast<int>(offsetOf(buffer));
        const image::Accumulation kind = image::accumulationOf(buffer);
        if (kind == image::Accumulation::Ids) {
            if (buffer.idSlots > 0)
                idTables_.push_back({offsetOf(buffer), static_cast<std::size_t>(buffer.idSlots)});
        } else if (image::keepsOneSample(kind)) {
            unfiltered_.push_back({kind, offsetOf(buffer), buffer.components});
        } else if (kind == image::Accumulation::Count) {
            counts_.push_back(offsetOf(buffer));
        } else if (kind == image::Accumulation::Variance) {
            variances_.push_back({first, buffer.components});
        } else if (!filtered_.empty() && filtered_.back().first + filtered_.back().count == first) {
            filtered_.back().count += buffer.components;
        } else {
            filtered_.push_back({first, buffer.components});
        }
    }
    weightAt_ = static_cast<std::size_t>(framebuffers.wordsPerSample()) - scratchWords_;
    stepsAt_ = weightAt_ + 1;
    deviationsAt_ = stepsAt_ + 1;
    distanceAt_ = deviationsAt_ + colorWords;
    sumWords_ = weightAt_ + ownWords(!unfiltered_.empty());
    pixelWords_ = blocks * sumWords_;
    data_.resize(pixelsIn(sampled) * pixelWords_);
    bytes_ = data_.size() * sizeof(float);
    for (float *sums = data_.data(), *end = sums + data_.size(); sums != end; sums += sumWords_) clear(sums);
}

std::size_t Film::bytesNeeded(const image::FramebufferSet& framebuffers, const PixelWindow& sampled,
                              std::size_t blocks) {
    std::size_t words = 0;
    bool hasUnfiltered = false;
    for (const image::Buffer& buffer : shownBuffers(framebuffers)) {
        words += static_cast<std::size_t>(buffer.components);
        hasUnfiltered = hasUnfiltered || image::keepsOneSample(image::accumulationOf(buffer));
    }
    return blocks * (words + ownWords(hasUnfiltered)) * sizeof(float) * pixelsIn(sampled);
}

void Film::add(float* sums, const PixelFilter::Placement& placement, const float* values) const {
    values += scratchWords_;
    sums[weightAt_] += placement.weight;
    for (const WordRange& range : filtered_) {
        const float* const from = values + range.first;
        float* const to = sums + range.first;
        for (int w = 0; w < range.count; ++w) to[w] += placement.weight * from[w];
    }
    for (const IdTable& table : idTables_)
        image::addIds(sums + table.first, values + table.first, table.slots, placement.weight);
    for (const std::size_t count : counts_) sums[count] += 1.0f;
    if (!unfiltered_.empty())
        addUnfiltered(sums, std::max(std::abs(placement.x), std::abs(placement.y)), values);
}

void Film::addUnfiltered(float* sums, float distance, const float* values) const {
    float& keptDistance = sums[distanceAt_];
    for (const auto& [accumulation, first, count] : unfiltered_)
        if (image::replaces(accumulation, values[first], distance, sums[first], keptDistance))
            std::copy_n(values + first, count, sums + first);
    keptDistance = std::min(keptDistance, distance);
}

void Film::clear(float* sums) const {
    std::fill_n(sums, distanceAt_, 0.0f);
    if (!unfiltered_.empty()) sums[distanceAt_] = farAway;
}

void Film::addSums(float* sums, const float* later) const {
    sums[weightAt_] += later[weightAt_];
    for (const WordRange& range : filtered_)
        for (int w = range.first; w < range.first + range.count; ++w) sums[w] += later[w];
    for (const IdTable& table : idTables_)
        image::addIds(sums + table.first, later + table.first, table.slots, 1.0f);
    for (const std::size_t count : counts_) sums[count] += later[count];
    if (!unfiltered_.empty()) addUnfiltered(sums, later[distanceAt_], later);
}

Film::PrimarySum Film::primarySum(const float* sums) const {
    PrimarySum sum{sums[weightAt_], {}};
    std::copy_n(sums + primaryOffset_, colorWords, sum.color);
    return sum;
}

void Film::finishStep(float* pixel, const PrimarySum& before) const {
    const int done = stepsDone(pixel);
    pixel[stepsAt_] += 1.0f;
    if (done == 0) return;
    // With the first step after a full level, that level's samples become the first part.
    const int parts = (done - 1) % 3 + 1;
    float* const deviations = pixel + deviationsAt_;
    if (parts == 1) std::fill_n(deviations, colorWords, 0.0f);
    const PrimarySum after = primarySum(pixel);
    for (std::size_t c = 0; c < colorWords; ++c)
        deviations[c] +=
            image::squaredDeviation(parts, {before.color[c], before.weight}, {after.color[c], after.weight});
}

void Film::prefetch(int x, int y) const {
    constexpr std::size_t cacheLine = 64 / sizeof(float);
    const float* const words = pixel(x, y);
    for (std::size_t w = 0; w < pixelWords_; w += cacheLine) __builtin_prefetch(words + w, 1);
}

void Film::interpolate(int x, int y, const Blend& blend) {
    int heaviest = 0;
    for (int i = 1; i < 4; ++i)
        if (blend.weight[i] > blend.weight[heaviest]) heaviest = i;
    float* const to = pixel(x, y);
    const float* const nearest = pixel(blend.x[heaviest], blend.y[heaviest]);
    for (const Unfiltered& value : unfiltered_)
        std::copy_n(nearest + value.first, value.count, to + value.first);
    for (const WordRange& range : filtered_) std::fill_n(to + range.first, range.count, 0.0f);
    for (const IdTable& table : idTables_) std::fill_n(to + table.first, 2 * table.slots, 0.0f);
    for (int i = 0; i < 4; ++i) {
        const float* const from = pixel(blend.x[i], blend.y[i]);
        const float weight = blend.weight[i] / from[weightAt_];
        for (const WordRange& range : filtered_)
            for (int w = range.first; w < range.first + range.count; ++w) to[w] += weight * from[w];
        for (const IdTable& table : idTables_)
            image::addIds(to + table.first, from + table.first, table.slots, weight);
    }
    // The weight stays 0: the pixel does not count as sampled, and resolve does not scale it.
}

miColor Film::mean(int x, int y) const {
    const float* const accumulated = pixel(x, y);
    const float* const sum = accumulated + primaryOffset_;
    const float scale = 1.0f / accumulated[weightAt_];
    return {sum[0] * scale, sum[1] * scale, sum[2] * scale, sum[3] * scale};
}

miColor Film::sampleVariance(int x, int y) const {
    const float* const accumulated = pixel(x, y);
    const int steps = stepsDone(accumulated);
    if (steps < 2) return {};
    const int parts = partsAfter(steps);
    const float scale = static_cast<float>(samplesAfter(steps)) / static_cast<float>(parts * (parts - 1));
    const float* const deviations = accumulated + deviationsAt_;
    return {deviations[0] * scale, deviations[1] * scale, deviations[2] * scale, deviations[3] * scale};
}

std::array<float, 4> Film::varianceOfMean(const float* pixel) const {
    std::array<float, 4> variance{};
    const int steps = stepsDone(pixel);
    if (steps < 2) return variance;
    for (std::size_t c = 0; c < variance.size(); ++c)
        variance[c] = image::varianceOfMean(pixel[deviationsAt_ + c], partsAfter(steps));
    return variance;
}

void Film::resolve() {
    float* to = data_.data();
    const std::size_t rowWords = static_cast<std::size_t>(window_.width()) * pixelWords_;
    for (int y = window_.yl; y <= window_.yh; ++y, to += rowWords) {
        const float* const from = pixel(window_.xl, y);
        if (to != from) std::copy_n(from, rowWords, to); // towards the front
        for (float* accumulated = to; accumulated != to + rowWords; accumulated += pixelWords_) {
            for (std::size_t block = 1; block < blocks(); ++block)
                addSums(accumulated, accumulated + block * sumWords_);
            const std::array<float, 4> variance = varianceOfMean(accumulated);
            for (const WordRange& range : variances_)
                std::copy_n(variance.begin(), range.count, accumulated + range.first);
            const float weight = accumulated[weightAt_];
            for (const IdTable& table : idTables_)
                image::finishIds(accumulated + table.first, table.slots, weight);
            if (weight == 0.0f || weight == 1.0f) continue;
            const float scale = 1.0f / weight;
            for (const WordRange& range : filtered_)
                for (int w = range.first; w < range.first + range.count; ++w) accumulated[w] *= scale;
        }
    }
    data_.resize(pixelsIn(window_) * pixelWords_);
    sampled_ = window_;
}

image::Layer Film::layerAt(const image::Buffer* buffer, std::size_t word, std::size_t words) const {
    return {buffer, {data_.data() + word, data_.size() - (pixelWords_ - words)}, pixelWords_};
}

std::vector<image::Layer> Film::layersOf(std::size_t block) const {
    std::vector<image::Layer> layers;
    for (const image::Buffer& buffer : shownBuffers(framebuffers_))
        layers.push_back(layerAt(&buffer, block * sumWords_ + offsetOf(buffer),
                                 static_cast<std::size_t>(buffer.components)));
    return layers;
}

std::vector<image::Layer> Film::layers(std::span<const float> words) const {
    std::vector<image::Layer> layers = layersOf(0);
    for (image::Layer& layer : layers)
        layer.pixels =
            words.subspan(static_cast<std::size_t>(layer.pixels.data() - data_.data()), layer.pixels.size());
    return layers;
}

image::SummedBlock Film::summedBlock(std::size_t block, image::SampleRange samples) const {
    const std::size_t first = block * sumWords_;
    std::vector<image::Layer> layers = layersOf(block);
    for (image::Layer& layer : layers)
        if (image::accumulationOf(*layer.buffer) == image::Accumulation::Variance)
            layer = layerAt(layer.buffer, first + primaryOffset_, colorWords);
    return {samples, std::move(layers), layerAt(nullptr, first + weightAt_, 1),
            unfiltered_.empty() ? image::Layer{} : layerAt(nullptr, first + distanceAt_, 1)};
}

} // namespace orca::render
