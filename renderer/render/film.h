// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/framebuffers.h"
#include "image/picture_file.h"
#include "render/pixel_filter.h"

#include <shader.h>

#include <cstdint>
#include <span>
#include <vector>

namespace orca::render {

/// Rendered pixels, inclusive, lower left origin.
struct PixelWindow {
    int xl, yl, xh, yh;
    [[nodiscard]] int width() const { return xh - xl + 1; }
    [[nodiscard]] int height() const { return yh - yl + 1; }
};

class Film;

/// Samples of one pixel, gathered by one thread before they go to the film.
class PixelSamples {
public:
    explicit PixelSamples(const Film& film);

    void clear();
    /// `values` holds one sample's words of every buffer.
    void add(const PixelFilter::Placement& placement, const float* values);

private:
    friend class Film;
    const Film& film_;
    std::vector<float> sums_;    // filtered words: sum of weight * value
    std::vector<float> nearest_; // unfiltered words: the chosen sample's
    float weight_ = 0.0f;
    float distance_ = 0.0f; // of the sample in nearest_ from the pixel's centre
    std::uint32_t count_ = 0;
    miColor low_{}, high_{}; // of the primary buffer
};

/// Pixels of all buffers. A pixel is written by one thread at a time; pixels are independent of each other.
class Film {
public:
    Film(const image::FramebufferSet& framebuffers, const PixelWindow& window);
    /// Bytes that such a film will take.
    [[nodiscard]] static std::size_t bytesNeeded(const image::FramebufferSet& framebuffers,
                                                 const PixelWindow& window);

    /// Merges new samples of a run of neighbours in a row, the first at (x, y) in picture coordinates. A run
    /// is far cheaper than its pixels one by one: every buffer is another place in memory.
    void add(int x, int y, std::span<const PixelSamples> run);
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
    friend class PixelSamples;
    enum class Combine { Filter, NearestCentre, NearestSurface };
    struct Plane {
        int bufferIndex;
        int offset; // first word in a sample
        int components;
        Combine combine;
        std::vector<float> pixels;
    };
    struct Run {
        int offset, words; // contiguous filtered words of a sample
    };

    static void addFiltered(Plane& plane, std::size_t firstPixel, std::span<const PixelSamples> run);
    void addUnfiltered(Plane& plane, std::size_t pixel, const PixelSamples& samples);

    [[nodiscard]] std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y - window_.yl) * static_cast<std::size_t>(window_.width()) +
               static_cast<std::size_t>(x - window_.xl);
    }

    const image::FramebufferSet& framebuffers_;
    PixelWindow window_;
    std::vector<Plane> planes_;
    std::vector<Run> filteredRuns_;
    int wordsPerSample_;
    int primaryOffset_;
    std::size_t primaryPlane_ = 0;
    bool hasUnfiltered_ = false;
    // By pixel. What is added here counts in bytesNeeded.
    std::vector<float> weights_;
    std::vector<float> distances_; // of unfiltered values, only where there are any
    std::vector<miColor> low_, high_;
};

} // namespace orca::render
