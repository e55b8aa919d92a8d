// SPDX-License-Identifier: Apache-2.0
#include "render/film.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orca::render {

namespace {

constexpr float farAway = std::numeric_limits<float>::infinity();
constexpr float insidePixel = 0.5f;

/// Depth 0 is "nothing there", so any surface is nearer.
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

constexpr miColor highest{farAway, farAway, farAway, farAway};
constexpr miColor lowest{-farAway, -farAway, -farAway, -farAway};

} // namespace

PixelSamples::PixelSamples(const Film& film)
    : film_(film),
      sums_(static_cast<std::size_t>(film.wordsPerSample_)),
      nearest_(static_cast<std::size_t>(film.hasUnfiltered_ ? film.wordsPerSample_ : 0)) {
    clear();
}

void PixelSamples::clear() {
    weight_ = 0.0f;
    distance_ = farAway;
    count_ = 0;
    low_ = highest;
    high_ = lowest;
}

void PixelSamples::add(const PixelFilter::Placement& placement, const float* values) {
    const bool first = count_++ == 0; // it overwrites what the pixel before has left here
    weight_ += placement.weight;
    if (first && film_.hasUnfiltered_) std::fill(nearest_.begin(), nearest_.end(), 0.0f);
    for (const Film::Run& run : film_.filteredRuns_) {
        const float* from = values + run.offset;
        float* to = sums_.data() + run.offset;
        if (first)
            for (int w = 0; w < run.words; ++w) to[w] = placement.weight * from[w];
        else
            for (int w = 0; w < run.words; ++w) to[w] += placement.weight * from[w];
    }

    const miColor primary{values[film_.primaryOffset_], values[film_.primaryOffset_ + 1],
                          values[film_.primaryOffset_ + 2], values[film_.primaryOffset_ + 3]};
    low_ = lower(low_, primary);
    high_ = higher(high_, primary);

    if (!film_.hasUnfiltered_) return;
    const float distance = std::max(std::abs(placement.x), std::abs(placement.y));
    const bool closer = distance < distance_;
    for (const Film::Plane& plane : film_.planes_) {
        float* kept = nearest_.data() + plane.offset;
        const float* value = values + plane.offset;
        if (plane.combine == Film::Combine::NearestCentre && closer)
            std::copy_n(value, plane.components, kept);
        else if (plane.combine == Film::Combine::NearestSurface) {
            const bool firstInside = distance <= insidePixel && distance_ > insidePixel;
            if (firstInside || (distance <= insidePixel && isNearer(*value, *kept)) || (distance_ == farAway))
                *kept = *value;
        }
    }
    if (closer) distance_ = distance;
}

Film::Film(const image::FramebufferSet& framebuffers, const PixelWindow& window)
    : framebuffers_(framebuffers), window_(window), wordsPerSample_(framebuffers.wordsPerSample()) {
    const std::size_t pixels =
        static_cast<std::size_t>(window.width()) * static_cast<std::size_t>(window.height());
    const std::vector<image::Buffer>& buffers = framebuffers.buffers();
    for (std::size_t i = 1; i < buffers.size(); ++i) {
        const image::Buffer& buffer = buffers[i];
        Plane plane{static_cast<int>(i), buffer.sampleOffset, buffer.components, Combine::Filter, {}};
        if (isUnfiltered(buffer))
            plane.combine = buffer.type == miIMG_TYPE_Z ? Combine::NearestSurface : Combine::NearestCentre;
        plane.pixels.resize(pixels * static_cast<std::size_t>(buffer.components));
        if (plane.combine == Combine::Filter) {
            if (!filteredRuns_.empty() &&
                filteredRuns_.back().offset + filteredRuns_.back().words == buffer.sampleOffset)
                filteredRuns_.back().words += buffer.components;
            else filteredRuns_.push_back({buffer.sampleOffset, buffer.components});
        } else {
            hasUnfiltered_ = true;
        }
        if (static_cast<int>(i) == framebuffers.primaryIndex()) primaryPlane_ = planes_.size();
        planes_.push_back(std::move(plane));
    }
    primaryOffset_ = buffers[static_cast<std::size_t>(framebuffers.primaryIndex())].sampleOffset;
    weights_.resize(pixels);
    if (hasUnfiltered_) distances_.assign(pixels, farAway);
    low_.assign(pixels, highest);
    high_.assign(pixels, lowest);
}

std::size_t Film::bytesNeeded(const image::FramebufferSet& framebuffers, const PixelWindow& window) {
    std::size_t pixel = sizeof(float) + 2 * sizeof(miColor);
    bool hasUnfiltered = false;
    for (std::size_t i = 1; i < framebuffers.buffers().size(); ++i) {
        const image::Buffer& buffer = framebuffers.buffers()[i];
        pixel += static_cast<std::size_t>(buffer.components) * sizeof(float);
        hasUnfiltered = hasUnfiltered || isUnfiltered(buffer);
    }
    if (hasUnfiltered) pixel += sizeof(float);
    return pixel * static_cast<std::size_t>(window.width()) * static_cast<std::size_t>(window.height());
}

void Film::addFiltered(Plane& plane, std::size_t firstPixel, std::span<const PixelSamples> run) {
    const auto components = static_cast<std::size_t>(plane.components);
    float* to = plane.pixels.data() + firstPixel * components;
    for (const PixelSamples& samples : run) {
        const float* from = samples.sums_.data() + plane.offset;
        if (components == 4) // nearly all: a count that the compiler knows makes one addition of it
            for (std::size_t c = 0; c < 4; ++c) to[c] += from[c];
        else
            for (std::size_t c = 0; c < components; ++c) to[c] += from[c];
        to += components;
    }
}

void Film::addUnfiltered(Plane& plane, std::size_t pixel, const PixelSamples& samples) {
    float* to = plane.pixels.data() + pixel * static_cast<std::size_t>(plane.components);
    const float* kept = samples.nearest_.data() + plane.offset;
    const float before = distances_[pixel];
    if (plane.combine == Combine::NearestCentre) {
        if (samples.distance_ < before) std::copy_n(kept, plane.components, to);
    } else if (before > insidePixel ? samples.distance_ < before
                                    : samples.distance_ <= insidePixel && isNearer(*kept, *to)) {
        *to = *kept;
    }
}

void Film::add(int x, int y, std::span<const PixelSamples> run) {
    const std::size_t first = index(x, y);
    for (std::size_t i = 0; i < run.size(); ++i) {
        const PixelSamples& samples = run[i];
        weights_[first + i] += samples.weight_;
        low_[first + i] = lower(low_[first + i], samples.low_);
        high_[first + i] = higher(high_[first + i], samples.high_);
    }
    for (Plane& plane : planes_) {
        if (plane.combine == Combine::Filter) addFiltered(plane, first, run);
        else
            for (std::size_t i = 0; i < run.size(); ++i) addUnfiltered(plane, first + i, run[i]);
    }
    if (!hasUnfiltered_) return;
    for (std::size_t i = 0; i < run.size(); ++i)
        distances_[first + i] = std::min(distances_[first + i], run[i].distance_);
}

void Film::interpolate(int x, int y, const Blend& blend) {
    const std::size_t pixel = index(x, y);
    int heaviest = 0;
    for (int i = 1; i < 4; ++i)
        if (blend.weight[i] > blend.weight[heaviest]) heaviest = i;
    for (Plane& plane : planes_) {
        const auto components = static_cast<std::size_t>(plane.components);
        float* to = plane.pixels.data() + pixel * components;
        if (plane.combine != Combine::Filter) {
            std::copy_n(plane.pixels.data() + index(blend.x[heaviest], blend.y[heaviest]) * components,
                        components, to);
            continue;
        }
        std::fill_n(to, components, 0.0f);
        for (int i = 0; i < 4; ++i) {
            const std::size_t source = index(blend.x[i], blend.y[i]);
            const float weight = blend.weight[i] / weights_[source];
            for (std::size_t c = 0; c < components; ++c)
                to[c] += weight * plane.pixels[source * components + c];
        }
    }
    // The weight stays 0, so that the pixel does not pass for a sampled one; resolve leaves it as it is.
}

miColor Film::mean(int x, int y) const {
    const std::size_t pixel = index(x, y);
    const float* sum = planes_[primaryPlane_].pixels.data() + pixel * 4;
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
    for (Plane& plane : planes_) {
        if (plane.combine != Combine::Filter) continue;
        const auto components = static_cast<std::size_t>(plane.components);
        for (std::size_t pixel = 0; pixel < weights_.size(); ++pixel) {
            if (weights_[pixel] == 0.0f) continue;
            const float scale = 1.0f / weights_[pixel];
            for (std::size_t c = 0; c < components; ++c) plane.pixels[pixel * components + c] *= scale;
        }
    }
}

std::vector<image::Layer> Film::layers() const {
    std::vector<image::Layer> layers;
    for (const Plane& plane : planes_)
        layers.push_back(
            {&framebuffers_.buffers()[static_cast<std::size_t>(plane.bufferIndex)], plane.pixels});
    return layers;
}

std::size_t Film::bytes() const {
    std::size_t bytes = weights_.size() * sizeof(float) + distances_.size() * sizeof(float) +
                        (low_.size() + high_.size()) * sizeof(miColor);
    for (const Plane& plane : planes_) bytes += plane.pixels.size() * sizeof(float);
    return bytes;
}

} // namespace orca::render
