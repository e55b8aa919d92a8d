// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/framebuffers.h"
#include "image/picture_file.h"
#include "image/sample_blocks.h"
#include "render/film/pixel_filter.h"
#include "render/film/pixel_window.h"

#include <shader.h>

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace orca::render {

/// Pixels of all buffers. A pixel is written by one thread at a time; pixels are independent of each other.
/// What a pixel has accumulated is contiguous, all buffers together: a sample with many passes touches a few
/// neighbouring cache lines instead of one in every buffer.
class Film {
public:
    /// @param window of the finished layers
    /// @param sampled pixels that take samples; contains the window
    /// @param blocks of samples whose sums are kept apart (see image::SampleRange), usually 1
    Film(const image::FramebufferSet& framebuffers, const PixelWindow& window, const PixelWindow& sampled,
         std::size_t blocks = 1);
    /// Memory of such a film, bytes.
    [[nodiscard]] static std::size_t bytesNeeded(const image::FramebufferSet& framebuffers,
                                                 const PixelWindow& sampled, std::size_t blocks = 1);

    /// What the pixel at (x, y) in picture coordinates has accumulated, `pixelWords` words: the sums of each
    /// block, `sumWords` words. A copy of them is as good: samples may be added to it and the result copied
    /// back.
    [[nodiscard]] float* pixel(int x, int y) { return data_.data() + index(x, y) * pixelWords_; }
    [[nodiscard]] const float* pixel(int x, int y) const { return data_.data() + index(x, y) * pixelWords_; }
    [[nodiscard]] std::size_t pixelWords() const { return pixelWords_; }
    [[nodiscard]] std::size_t sumWords() const { return sumWords_; }
    [[nodiscard]] std::size_t blocks() const { return pixelWords_ / sumWords_; }

    /// Adds a sample to the sums of a pixel, or of one of its blocks.
    /// @param values the sample's words of every buffer
    void add(float* sums, const PixelFilter::Placement& placement, const float* values) const;
    /// The primary buffer's sums at one moment.
    struct PrimarySum {
        float weight, color[4];
    };
    [[nodiscard]] PrimarySum primarySum(const float* sums) const;
    /// Counts a step of a pixel as done (see sample_steps.h) and notes how far the mean of its samples is
    /// from that of the parts before it.
    /// @param before what the pixel had when the step began
    void finishStep(float* pixel, const PrimarySum& before) const;
    /// Steps that a pixel has done.
    [[nodiscard]] int stepsDone(const float* pixel) const { return static_cast<int>(pixel[stepsAt_]); }
    /// Makes sums those of no sample.
    void clear(float* sums) const;
    /// Adds the sums of later samples of the same pixel.
    void addSums(float* sums, const float* later) const;
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
    /// Estimate of the primary buffer's variance from sample to sample: the variance of the mean times the
    /// number of samples. It comes from the means of equal parts of the samples, each of which is spread over
    /// pixel, lens, time and lights as all samples are, and so knows by how much that lowers the error. 0 for
    /// a pixel with fewer than two samples.
    [[nodiscard]] miColor sampleVariance(int x, int y) const;

    /// Adds up the blocks, divides the sums by their weights, fills in the variances and drops the pixels
    /// outside of the window.
    /// Once, after the last sample; of the functions above none may be called afterwards.
    void resolve();
    /// Finished layers, the scratch buffer left out. Valid as long as the film.
    [[nodiscard]] std::vector<image::Layer> layers() const { return layersOf(0); }
    /// The same layers with other numbers, as many as `finishedWords` has.
    [[nodiscard]] std::vector<image::Layer> layers(std::span<const float> words) const;
    /// After `resolve`, all words of the finished pixels, to be changed: `pixelWords()` of each, rows bottom
    /// up.
    [[nodiscard]] std::vector<float>& finishedWords() { return data_; }
    /// Place of a buffer's first word among those of a pixel.
    [[nodiscard]] std::size_t offsetOf(const image::Buffer& buffer) const {
        return static_cast<std::size_t>(buffer.sampleOffset) - scratchWords_;
    }
    /// A buffer's words in the first of the finished pixels, to be changed.
    [[nodiscard]] float* finished(const image::Buffer& buffer) { return data_.data() + offsetOf(buffer); }
    /// Instead of the layers, before `resolve`: the sums of a block, for a film without pixels outside of the
    /// window.
    [[nodiscard]] image::SummedBlock summedBlock(std::size_t block, image::SampleRange samples) const;
    [[nodiscard]] const PixelWindow& window() const { return window_; }
    [[nodiscard]] const PixelWindow& sampledWindow() const { return sampled_; }
    [[nodiscard]] std::size_t bytes() const { return bytes_; }

private:
    struct WordRange {
        int first, count; // of the sums' words
    };

    struct IdTable {
        std::size_t first, slots; // of the sums' words
    };

    struct Unfiltered {
        image::Accumulation accumulation;
        std::size_t first;
        int count;
    };

    void addUnfiltered(float* sums, float distance, const float* values) const;
    /// Estimate of the variance of the primary buffer's mean, as `sampleVariance`.
    [[nodiscard]] std::array<float, 4> varianceOfMean(const float* pixel) const;
    [[nodiscard]] std::vector<image::Layer> layersOf(std::size_t block) const;
    [[nodiscard]] image::Layer layerAt(const image::Buffer* buffer, std::size_t word,
                                       std::size_t words) const;

    [[nodiscard]] std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y - sampled_.yl) * static_cast<std::size_t>(sampled_.width()) +
               static_cast<std::size_t>(x - sampled_.xl);
    }

    const image::FramebufferSet& framebuffers_;
    PixelWindow window_, sampled_;
    std::vector<WordRange> filtered_; // neighbouring buffers in one range
    std::vector<Unfiltered> unfiltered_;
    std::vector<IdTable> idTables_;
    std::vector<WordRange> variances_;
    std::vector<std::size_t> counts_; // words that hold numbers of samples
    std::size_t scratchWords_;        // of the scratch buffer, first in a sample and in no pixel
    std::size_t primaryOffset_;
    // Sums: the buffers' words, then the weight, the steps done, the squared deviations of the parts' primary
    // colours from their mean, and, only where there are unfiltered values, the distance of the sample that
    // they are from.
    std::size_t weightAt_, stepsAt_, deviationsAt_, distanceAt_, sumWords_;
    std::size_t pixelWords_;
    std::vector<float> data_;
    std::size_t bytes_;
};

} // namespace orca::render
