// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/framebuffers.h"
#include "image/picture_file.h"
#include "render/film/pixel_filter.h"
#include "render/film/pixel_window.h"

#include <shader.h>

#include <cstddef>
#include <vector>

namespace orca::render {

/// Pixels of all buffers. A pixel is written by one thread at a time; pixels are independent of each other.
/// The words of a pixel are contiguous, all buffers together: a sample with many passes touches a few
/// neighbouring cache lines instead of one in every buffer.
class Film {
public:
    Film(const image::FramebufferSet& framebuffers, const PixelWindow& window);
    /// Memory of such a film, bytes.
    [[nodiscard]] static std::size_t bytesNeeded(const image::FramebufferSet& framebuffers,
                                                 const PixelWindow& window);

    /// Adds a sample to the pixel at (x, y) in picture coordinates.
    /// @param values the sample's words of every buffer
    void add(int x, int y, const PixelFilter::Placement& placement, const float* values);
    /// Prefetches the pixel's words into the cache.
    void prefetch(int x, int y) const;
    /// Four pixels and their weights, which add up to 1.
    struct Blend {
        int x[4], y[4];
        float weight[4];
    };
    /// Fills a pixel that has no sample from four that have; unfiltered values come from the heaviest.
    void interpolate(int x, int y, const Blend& blend);

    [[nodiscard]] bool sampled(int x, int y) const { return weights_[index(x, y)] != 0.0f; }
    /// Mean of the primary buffer so far.
    [[nodiscard]] miColor mean(int x, int y) const;
    /// Spread of the primary buffer over the pixel's samples.
    [[nodiscard]] miColor spread(int x, int y) const;

    /// Divides the sums by their weights. Once, after the last sample.
    void resolve();
    /// Finished layers, the scratch buffer left out. Valid as long as the film.
    [[nodiscard]] std::vector<image::Layer> layers() const;
    [[nodiscard]] const PixelWindow& window() const { return window_; }
    [[nodiscard]] std::size_t bytes() const;

private:
    struct WordRange {
        int first, count; // of a pixel's words
    };

    void addUnfiltered(std::size_t pixel, float distance, const float* values);

    [[nodiscard]] std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y - window_.yl) * static_cast<std::size_t>(window_.width()) +
               static_cast<std::size_t>(x - window_.xl);
    }

    /// First word of a buffer in a pixel.
    [[nodiscard]] std::size_t offsetOf(const image::Buffer& buffer) const {
        return static_cast<std::size_t>(buffer.sampleOffset) - scratchWords_;
    }
    [[nodiscard]] float* wordsOf(std::size_t pixel) { return words_.data() + pixel * wordsPerPixel_; }
    [[nodiscard]] const float* wordsOf(std::size_t pixel) const {
        return words_.data() + pixel * wordsPerPixel_;
    }

    const image::FramebufferSet& framebuffers_;
    PixelWindow window_;
    std::vector<WordRange> filtered_; // neighbouring buffers in one range
    std::vector<const image::Buffer*> unfiltered_;
    std::size_t scratchWords_;  // of the scratch buffer, first in a sample and in no pixel
    std::size_t wordsPerPixel_; // a sample's words without those
    std::size_t primaryOffset_;
    // By pixel. bytesNeeded counts every one of these.
    std::vector<float> words_;
    std::vector<float> weights_;
    std::vector<float> distances_; // of unfiltered values, only where there are any
    std::vector<miColor> low_, high_;
};

} // namespace orca::render
