// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/deep_exr.h"
#include "render/film/pixel_window.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orca::render {

/// What all eye samples of a picture's pixels see, by depth. A pixel is written by one thread at a time. What
/// a surface adds to a pixel at nearly the same depth is kept as one.
class DeepFilm {
public:
    /// Depths of a surface that become one sample differ by this share of the nearest of them at most.
    static constexpr float tolerance = 0.01f;
    /// Kept apart in a pixel at most; further ones are added to those that are nearest in depth.
    static constexpr std::size_t mostSamples = 128;

    /// @param sampled pixels that take samples
    explicit DeepFilm(const PixelWindow& sampled);

    /// A part of an eye sample.
    struct Part {
        std::uint32_t surface; ///< parts of different ones stay apart
        float depth;           ///< along the view axis, scene units
        float alpha;           ///< share of the sample's
        float color[3];        ///< share of the sample's
    };
    /// @param weight of the eye sample in its pixel
    void add(int x, int y, float weight, const Part& part);
    /// An eye sample is complete.
    void endSample(int x, int y, float weight) { pixel(x, y).weight += weight; }
    /// Forgets what a pixel has seen.
    void clear(int x, int y) { pixel(x, y) = {}; }

    /// Samples that give the picture when they are composited, nearest first: each is what its parts add,
    /// divided by what the samples before it let through. What is behind something opaque, as light added by
    /// a volume, goes to the sample before it.
    /// @param window within the pixels that take samples
    [[nodiscard]] image::DeepPicture picture(const PixelWindow& window) const;

private:
    struct Sum {
        Part part; // front depth; sums
        float back;
    };
    struct Pixel {
        float weight = 0.0f;
        std::vector<Sum> sums;
    };
    Pixel& pixel(int x, int y) { return pixels_[index(x, y)]; }
    [[nodiscard]] std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y - sampled_.yl) * static_cast<std::size_t>(sampled_.width()) +
               static_cast<std::size_t>(x - sampled_.xl);
    }

    PixelWindow sampled_;
    std::vector<Pixel> pixels_;
};

} // namespace orca::render
