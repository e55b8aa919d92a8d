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

miColor lower(const miColor& a, const miColor& b) {
    return {std::min(a.r, b.r), std::min(a.g, b.g), std::min(a.b, b.b), std::min(a.a, b.a)};
}

miColor higher(const miColor& a, const miColor& b) {
    return {std::max(a.r, b.r), std::max(a.g, b.g), std::max(a.b, b.b), std::max(a.a, b.a)};
}

bool isUnfiltered(const image::Buffer& buffer) {
    return buffer.type == miIMG_TYPE_TAG || !buffer.filtering;
}

/// All but the scratch buffer.
std::span<const image::Buffer> shownBuffers(const image::FramebufferSet& framebuffers) {
    return std::span(framebuffers.buffers()).subspan(1);
}

constexpr miColor highest{farAway, farAway, farAway, farAway};
constexpr miColor lowest{-farAway, -farAway, -farAway, -farAway};

} // namespace

Film::Film(const image::FramebufferSet& framebuffers, const PixelWindow& window)
    : framebuffers_(framebuffers),
      window_(window),
      scratchWords_(static_cast<std::size_t>(framebuffers.buffers()[1].sampleOffset)),
      wordsPerPixel_(static_cast<std::size_t>(framebuffers.wordsPerSample()) - scratchWords_),
      primaryOffset_(
          offsetOf(framebuffers.buffers()[static_cast<std::size_t>(framebuffers.primaryIndex())])) {
    const std::size_t pixels =
        static_cast<std::size_t>(window.width()) * static_cast<std::size_t>(window.height());
    for (const image::Buffer& buffer : shownBuffers(framebuffers)) {
        const int first = static_cast<int>(offsetOf(buffer));
        if (isUnfiltered(buffer)) unfiltered_.push_back(&buffer);
        else if (!filtered_.empty() && filtered_.back().first + filtered_.back().count == first)
            filtered_.back().count += buffer.components;
        else filtered_.push_back({first, buffer.components});
    }
    words_.resize(pixels * wordsPerPixel_);
    weights_.resize(pixels);
    if (!unfiltered_.empty()) distances_.assign(pixels, farAway);
    low_.assign(pixels, highest);
    high_.assign(pixels, lowest);
}

std::size_t Film::bytesNeeded(const image::FramebufferSet& framebuffers, const PixelWindow& window) {
    std::size_t pixel = sizeof(float) + 2 * sizeof(miColor);
    bool hasUnfiltered = false;
    for (const image::Buffer& buffer : shownBuffers(framebuffers)) {
        pixel += static_cast<std::size_t>(buffer.components) * sizeof(float);
        hasUnfiltered = hasUnfiltered || isUnfiltered(buffer);
    }
    if (hasUnfiltered) pixel += sizeof(float);
    return pixel * static_cast<std::size_t>(window.width()) * static_cast<std::size_t>(window.height());
}

void Film::add(int x, int y, const PixelFilter::Placement& placement, const float* values) {
    const std::size_t pixel = index(x, y);
    values += scratchWords_;
    float* const words = wordsOf(pixel);
    weights_[pixel] += placement.weight;
    for (const WordRange& range : filtered_) {
        const float* const from = values + range.first;
        float* const to = words + range.first;
        for (int w = 0; w < range.count; ++w) to[w] += placement.weight * from[w];
    }
    const float* const primary = values + primaryOffset_;
    const miColor color{primary[0], primary[1], primary[2], primary[3]};
    low_[pixel] = lower(low_[pixel], color);
    high_[pixel] = higher(high_[pixel], color);
    if (!unfiltered_.empty())
        addUnfiltered(pixel, std::max(std::abs(placement.x), std::abs(placement.y)), values);
}

void Film::addUnfiltered(std::size_t pixel, float distance, const float* values) {
    const float before = distances_[pixel];
    const bool closer = distance < before, inside = distance <= insidePixel;
    for (const image::Buffer* buffer : unfiltered_) {
        float* const kept = wordsOf(pixel) + offsetOf(*buffer);
        const float* const value = values + offsetOf(*buffer);
        bool takes = closer;
        // Depths of samples inside the pixel: the nearest surface. Until there is one, the closest sample.
        if (buffer->type == miIMG_TYPE_Z && before <= insidePixel) takes = inside && isNearer(*value, *kept);
        if (takes) std::copy_n(value, buffer->components, kept);
    }
    if (closer) distances_[pixel] = distance;
}

void Film::prefetch(int x, int y) const {
    constexpr std::size_t cacheLine = 64 / sizeof(float);
    const float* const words = wordsOf(index(x, y));
    for (std::size_t w = 0; w < wordsPerPixel_; w += cacheLine) __builtin_prefetch(words + w, 1);
}

void Film::interpolate(int x, int y, const Blend& blend) {
    const std::size_t pixel = index(x, y);
    int heaviest = 0;
    for (int i = 1; i < 4; ++i)
        if (blend.weight[i] > blend.weight[heaviest]) heaviest = i;
    float* const to = wordsOf(pixel);
    const float* const nearest = wordsOf(index(blend.x[heaviest], blend.y[heaviest]));
    for (const image::Buffer* buffer : unfiltered_)
        std::copy_n(nearest + offsetOf(*buffer), buffer->components, to + offsetOf(*buffer));
    for (const WordRange& range : filtered_) std::fill_n(to + range.first, range.count, 0.0f);
    for (int i = 0; i < 4; ++i) {
        const std::size_t source = index(blend.x[i], blend.y[i]);
        const float weight = blend.weight[i] / weights_[source];
        const float* const from = wordsOf(source);
        for (const WordRange& range : filtered_)
            for (int w = range.first; w < range.first + range.count; ++w) to[w] += weight * from[w];
    }
    // The weight stays 0: the pixel does not count as sampled, and resolve does not scale it.
}

miColor Film::mean(int x, int y) const {
    const std::size_t pixel = index(x, y);
    const float* sum = wordsOf(pixel) + primaryOffset_;
    const float scale = 1.0f / weights_[pixel];
    return {sum[0] * scale, sum[1] * scale, sum[2] * scale, sum[3] * scale};
}

miColor Film::spread(int x, int y) const {
    const miColor& low = low_[index(x, y)];
    const miColor& high = high_[index(x, y)];
    return {high.r - low.r, high.g - low.g, high.b - low.b, high.a - low.a};
}

void Film::resolve() {
    // One sample a pixel under a box filter: the sums are the means already.
    if (std::all_of(weights_.begin(), weights_.end(), [](float w) { return w == 1.0f; })) return;
    for (std::size_t pixel = 0; pixel < weights_.size(); ++pixel) {
        if (weights_[pixel] == 0.0f) continue;
        const float scale = 1.0f / weights_[pixel];
        float* const words = wordsOf(pixel);
        for (const WordRange& range : filtered_)
            for (int w = range.first; w < range.first + range.count; ++w) words[w] *= scale;
    }
}

std::vector<image::Layer> Film::layers() const {
    std::vector<image::Layer> layers;
    for (const image::Buffer& buffer : shownBuffers(framebuffers_)) {
        const std::size_t behind = wordsPerPixel_ - static_cast<std::size_t>(buffer.components);
        layers.push_back(
            {&buffer, {words_.data() + offsetOf(buffer), words_.size() - behind}, wordsPerPixel_});
    }
    return layers;
}

std::size_t Film::bytes() const {
    return (words_.size() + weights_.size() + distances_.size()) * sizeof(float) +
           (low_.size() + high_.size()) * sizeof(miColor);
}

} // namespace orca::render
