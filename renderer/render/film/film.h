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
/// What a pixel has accumulated is contiguous, all buffers together: a sample with many passes touches a few
/// neighbouring cache lines instead of one in every buffer.
class Film {
public:
    /// @param window of the finished layers
    /// @param sampled pixels that take samples; contains the window
    Film(const image::FramebufferSet& framebuffers, const PixelWindow& window, const PixelWindow& sampled);
    /// Memory of such a film, bytes.
    [[nodiscard]] static std::size_t bytesNeeded(const image::FramebufferSet& framebuffers,
                                                 const PixelWindow& sampled);

    /// What the pixel at (x, y) in picture coordinates has accumulated, `pixelWords` words. A copy of them is
    /// as good: samples may be added to it and the result copied back.
    [[nodiscard]] float* pixel(int x, int y) { return data_.data() + index(x, y) * pixelWords_; }
    [[nodiscard]] const float* pixel(int x, int y) const { return data_.data() + index(x, y) * pixelWords_; }
    [[nodiscard]] std::size_t pixelWords() const { return pixelWords_; }

    /// Adds a sample to what a pixel has accumulated.
    /// @param values the sample's words of every buffer
    void add(float* pixel, const PixelFilter::Placement& placement, const float* values) const;
    /// Prefetches the pixel's words into the cache.
    void prefetch(int x, int y) const;
    /// Four pixels and their weights, which add up to 1.
    struct Blend {
        int x[4], y[4];
        float weight[4];
    };
    /// Fills a pixel that has no sample from four that have; unfiltered values come from the heaviest.
    void interpolate(int x, int y, const Blend& blend);

    [[nodiscard]] bool sampled(int x, int y) const { return pixel(x, y)[weightAt_] != 0.0f; }
    /// Mean of the primary buffer so far.
    [[nodiscard]] miColor mean(int x, int y) const;
    /// Spread of the primary buffer over the pixel's samples.
    [[nodiscard]] miColor spread(int x, int y) const;

    /// Divides the sums by their weights and drops the pixels outside of the window. Once, after the last
    /// sample; of the functions above none may be called afterwards.
    void resolve();
    /// Finished layers, the scratch buffer left out. Valid as long as the film.
    [[nodiscard]] std::vector<image::Layer> layers() const;
    [[nodiscard]] const PixelWindow& window() const { return window_; }
    [[nodiscard]] const PixelWindow& sampledWindow() const { return sampled_; }
    [[nodiscard]] std::size_t bytes() const { return bytes_; }

private:
    struct WordRange {
        int first, count; // of a pixel's words
    };

    void addUnfiltered(float* pixel, float distance, const float* values) const;

    [[nodiscard]] std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y - sampled_.yl) * static_cast<std::size_t>(sampled_.width()) +
               static_cast<std::size_t>(x - sampled_.xl);
    }

    /// First word of a buffer in a pixel.
    [[nodiscard]] std::size_t offsetOf(const image::Buffer& buffer) const {
        return static_cast<std::size_t>(buffer.sampleOffset) - scratchWords_;
    }

    const image::FramebufferSet& framebuffers_;
    PixelWindow window_, sampled_;
    std::vector<WordRange> filtered_; // neighbouring buffers in one range
    std::vector<const image::Buffer*> unfiltered_;
    std::size_t scratchWords_; // of the scratch buffer, first in a sample and in no pixel
    std::size_t primaryOffset_;
    // A pixel: the buffers' words, then its weight, the lowest and highest primary colour, and, only where
    // there are unfiltered values, the distance of the sample that they are from.
    std::size_t weightAt_, lowAt_, highAt_, distanceAt_, pixelWords_;
    std::vector<float> data_;
    std::size_t bytes_;
};

} // namespace orca::render
