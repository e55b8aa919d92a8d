// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/denoise/denoise_settings.h"

#include <atomic>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace orca::render {

/// A layer that tells surfaces apart and has little noise itself.
struct FilterGuide {
    GuideKind kind;
    std::size_t word; ///< of a pixel, the first of one for a depth, else of three
};

/// Pixels of several layers side by side, and what is known about them.
struct FilterInput {
    int width, height;
    std::span<const float> pixels; ///< rows of them
    std::size_t pixelWords;        ///< from one pixel to the next
    std::size_t color;             ///< word of a pixel at which the colour begins whose noise is known
    /// Variance of that colour from sample to sample, three of each pixel, and the number of samples whose
    /// mean it is.
    std::vector<float> variance, samples;
    std::vector<FilterGuide> guides;
    /// Words that are filtered, as first word and count.
    std::vector<std::pair<std::size_t, std::size_t>> words;
};

/// Replaces each pixel's words by a mean of those around it, with one weight for each neighbour that all
/// words share, so that layers which add up still do. A neighbour counts as much as its surroundings look
/// like the pixel's but for noise, and only where it lies on a similar surface. What has no noise stays as it
/// is.
///
/// F. Rousselle, M. Manzi and M. Zwicker, "Robust Denoising using Feature and Color Information", 2013: the
/// non-local means of its section 4, with colour and guides, and one filter for all pixels.
/// @param result as many words as there are pixels; those that are not filtered are copied
/// @param stop when set, the filter ends early, and the result is incomplete; may be null
/// Returns false when it was stopped.
bool filterJointly(const FilterInput& input, std::span<float> result, int threads,
                   const std::atomic<bool>* stop);

} // namespace orca::render
