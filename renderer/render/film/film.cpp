// SPDX-License-Identifier: Apache-2.0
#include "render/film/film.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace orca::render {

namespace {

constexpr float farAway = std::numeric_limits<float>::infinity();
constexpr float insidePixel = 0.5f;

/// Depth 0 means that there is no surface, so any surface is nearer.
bool isNearer(float depth, float than) {
    if (depth == 0.0f) return false;
    return than == 0.0f || depth < than;
}

bool isUnfiltered(const image::Buffer& buffer) {
    return buffer.type == miIMG_TYPE_TAG || !buffer.filtering;
}

constexpr std::size_t colorWords = 4;

std::size_t pixelsIn(const PixelWindow& window) {
    return static_cast<std::size_t>(window.width()) * static_cast<std::size_t>(window.height());
}

/// All but the scratch buffer.
std::span<const image::Buffer> shownBuffers(const image::FramebufferSet& framebuffers) {
    return std::span(framebuffers.buffers()).subspan(1);
}

/// Words that a pixel has besides those of its buffers: weight, two colours, distance.
constexpr std::size_t ownWords(bool hasUnfiltered) {
    return 1 + 2 * colorWords + (hasUnfiltered ? 1 : 0);
}

} // namespace

Film::Film(const image::FramebufferSet& framebuffers, const PixelWindow& window, const PixelWindow& sampled)
    : framebuffers_(framebuffers),
      window_(window),
      sampled_(sampled),
      scratchWords_(static_cast<std::size_t>(framebuffers.buffers()[1].sampleOffset)),
      primaryOffset_(
          offsetOf(framebuffers.buffers()[static_cast<std::size_t>(framebuffers.primaryIndex())])) {
    for (const image::Buffer& buffer : shownBuffers(framebuffers)) {
        const int first = static_cast<int>(offsetOf(buffer));
        if (isUnfiltered(buffer)) unfiltered_.push_back(&buffer);
        else if (!filtered_.empty() && filtered_.back().first + filtered_.back().count == first)
            filtered_.back().count += buffer.components;
        else filtered_.push_back({first, buffer.components});
    }
    weightAt_ = static_cast<std::size_t>(framebuffers.wordsPerSample()) - scratchWords_;
    lowAt_ = weightAt_ + 1;
    highAt_ = lowAt_ + colorWords;
    distanceAt_ = highAt_ + colorWords;
    pixelWords_ = weightAt_ + ownWords(!unfiltered_.empty());
    data_.resize(pixelsIn(sampled) * pixelWords_);
    bytes_ = data_.size() * sizeof(float);
    for (float *pixel = data_.data(), *end = pixel + data_.size(); pixel != end; pixel += pixelWords_) {
        std::fill_n(pixel + lowAt_, colorWords, farAway);
        std::fill_n(pixel + highAt_, colorWords, -farAway);
        if (!unfiltered_.empty()) pixel[distanceAt_] = farAway;
    }
}

std::size_t Film::bytesNeeded(const image::FramebufferSet& framebuffers, const PixelWindow& sampled) {
    std::size_t words = 0;
    bool hasUnfiltered = false;
    for (const image::Buffer& buffer : shownBuffers(framebuffers)) {
        words += static_cast<std::size_t>(buffer.components);
        hasUnfiltered = hasUnfiltered || isUnfiltered(buffer);
    }
    return (words + ownWords(hasUnfiltered)) * sizeof(float) * pixelsIn(sampled);
}

void Film::add(float* pixel, const PixelFilter::Placement& placement, const float* values) const {
    values += scratchWords_;
    pixel[weightAt_] += placement.weight;
    for (const WordRange& range : filtered_) {
        const float* const from = values + range.first;
        float* const to = pixel + range.first;
        for (int w = 0; w < range.count; ++w) to[w] += placement.weight * from[w];
    }
    const float* const primary = values + primaryOffset_;
    float *const low = pixel + lowAt_, *const high = pixel + highAt_;
    for (std::size_t c = 0; c < colorWords; ++c) {
        low[c] = std::min(low[c], primary[c]);
        high[c] = std::max(high[c], primary[c]);
    }
    if (!unfiltered_.empty())
        addUnfiltered(pixel, std::max(std::abs(placement.x), std::abs(placement.y)), values);
}

void Film::addUnfiltered(float* pixel, float distance, const float* values) const {
    const float before = pixel[distanceAt_];
    const bool closer = distance < before, inside = distance <= insidePixel;
    for (const image::Buffer* buffer : unfiltered_) {
        float* const kept = pixel + offsetOf(*buffer);
        const float* const value = values + offsetOf(*buffer);
        bool takes = closer;
        // Depths of samples inside the pixel: the nearest surface. Until there is one, the closest sample.
        if (buffer->type == miIMG_TYPE_Z && before <= insidePixel) takes = inside && isNearer(*value, *kept);
        if (takes) std::copy_n(value, buffer->components, kept);
    }
    if (closer) pixel[distanceAt_] = distance;
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
    for (const image::Buffer* buffer : unfiltered_)
        std::copy_n(nearest + offsetOf(*buffer), buffer->components, to + offsetOf(*buffer));
    for (const WordRange& range : filtered_) std::fill_n(to + range.first, range.count, 0.0f);
    for (int i = 0; i < 4; ++i) {
        const float* const from = pixel(blend.x[i], blend.y[i]);
        const float weight = blend.weight[i] / from[weightAt_];
        for (const WordRange& range : filtered_)
            for (int w = range.first; w < range.first + range.count; ++w) to[w] += weight * from[w];
    }
    // The weight stays 0: the pixel does not count as sampled, and resolve does not scale it.
}

miColor Film::mean(int x, int y) const {
    const float* const accumulated = pixel(x, y);
    const float* const sum = accumulated + primaryOffset_;
    const float scale = 1.0f / accumulated[weightAt_];
    return {sum[0] * scale, sum[1] * scale, sum[2] * scale, sum[3] * scale};
}

miColor Film::spread(int x, int y) const {
    const float *const low = pixel(x, y) + lowAt_, *const high = pixel(x, y) + highAt_;
    return {high[0] - low[0], high[1] - low[1], high[2] - low[2], high[3] - low[3]};
}

void Film::resolve() {
    float* to = data_.data();
    const std::size_t rowWords = static_cast<std::size_t>(window_.width()) * pixelWords_;
    for (int y = window_.yl; y <= window_.yh; ++y, to += rowWords) {
        const float* const from = pixel(window_.xl, y);
        if (to != from) std::copy_n(from, rowWords, to); // towards the front
        for (float* accumulated = to; accumulated != to + rowWords; accumulated += pixelWords_) {
            const float weight = accumulated[weightAt_];
            if (weight == 0.0f || weight == 1.0f) continue;
            const float scale = 1.0f / weight;
            for (const WordRange& range : filtered_)
                for (int w = range.first; w < range.first + range.count; ++w) accumulated[w] *= scale;
        }
    }
    data_.resize(pixelsIn(window_) * pixelWords_);
    sampled_ = window_;
}

std::vector<image::Layer> Film::layers() const {
    std::vector<image::Layer> layers;
    for (const image::Buffer& buffer : shownBuffers(framebuffers_)) {
        const std::size_t behind = pixelWords_ - static_cast<std::size_t>(buffer.components);
        layers.push_back({&buffer, {data_.data() + offsetOf(buffer), data_.size() - behind}, pixelWords_});
    }
    return layers;
}

} // namespace orca::render
