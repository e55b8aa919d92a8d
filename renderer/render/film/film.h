// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/framebuffers.h"
#include "image/picture_file.h"
#include "render/film/pixel_filter.h"

#include <shader.h>

#include <cstddef>
#include <vector>

namespace orca::render {

/// Rendered pixels, inclusive, lower left origin.
struct PixelWindow {
    int xl, yl, xh, yh;
    [[nodiscard]] int width() const { return xh - xl + 1; }
    [[nodiscard]] int height() const { return yh - yl + 1; }
};

/// Pixels of all buffers. A pixel is written by one thread at a time; pixels are independent of each other.
/// The words of a pixel lie together, all buffers in one place: a sample with many passes then touches a few
/// neighbouring cache lines, not one in every buffer.
class Film {
public:
    Film(const image::FramebufferSet& framebuffers, const PixelWindow& window);
    /// Bytes that such a film will take.
    [[nodiscard]] static std::size_t bytesNeeded(const image::FramebufferSet& framebuffers,
                                                 const PixelWindow& window);

    /// Adds a sample to the pixel at (x, y) in picture coordinates.
    /// @param values the sample's words of every buffer
    void add(int x, int y, const PixelFilter::Placement& placement, const float* values);
    /// Tells the processor that samples of this pixel are going to be added soon.
    void prefetch(int x, int y) const;
    /// Copies all words of one pixel from others by bilinear weights; unfiltered words come from the
    /// heaviest.
    struct Blend {
        int x[4], y[4];
        float weight[4];
    };
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
    enum class Combine { Filter, NearestCentre, NearestSurface };
    struct Plane {
        int bufferIndex;
        int offset; // first word in a pixel
        int components;
        Combine combine;
    };
    struct Run {
        int offset, words; // contiguous filtered words of a pixel
    };

    void addUnfiltered(std::size_t pixel, float distance, const float* values);

    [[nodiscard]] std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y - window_.yl) * static_cast<std::size_t>(window_.width()) +
               static_cast<std::size_t>(x - window_.xl);
    }

    [[nodiscard]] float* wordsOf(std::size_t pixel) { return words_.data() + pixel * wordsPerPixel_; }
    [[nodiscard]] const float* wordsOf(std::size_t pixel) const {
        return words_.data() + pixel * wordsPerPixel_;
    }

    const image::FramebufferSet& framebuffers_;
    PixelWindow window_;
    std::vector<Plane> planes_;
    std::vector<Run> filteredRuns_;
    std::size_t scratchWords_;  // of the scratch buffer, with which a sample begins and which no pixel keeps
    std::size_t wordsPerPixel_; // a sample's words less those
    int primaryOffset_ = 0;
    bool hasUnfiltered_ = false;
    // By pixel. What is added here counts in bytesNeeded.
    std::vector<float> words_;
    std::vector<float> weights_;
    std::vector<float> distances_; // of unfiltered values, only where there are any
    std::vector<miColor> low_, high_;
};

} // namespace orca::render
