// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "layers/layered_picture.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace orca::app {

/// How far two values may be apart: by `absolute`, or by `relative` of the larger one.
struct Tolerance {
    float absolute = 0.0f, relative = 0.0f;
};

/// How two layers of the same shape differ. Two not-a-numbers are alike, and so are two infinities of one
/// sign; either and a finite number are infinitely far apart.
struct LayerDifference {
    std::size_t pixels = 0;    ///< of the layer
    std::size_t differing = 0; ///< pixels with a channel beyond the tolerance
    float largest = 0.0f;      ///< difference of two values
    int x = 0, y = 0;          ///< its pixel, in the picture's coordinates, from the upper left
    std::size_t channel = 0;   ///< and its channel
    double rms = 0.0;          ///< root of the mean square over all values that are finite
    /// Peak signal-to-noise ratio, dB, for a peak of 1 or the largest finite value above it; nothing where
    /// the layers are alike.
    std::optional<double> psnr;
    std::vector<float> perPixel; ///< the largest difference of its channels, row by row
};

/// True where the layers have the same channels and data window.
[[nodiscard]] bool haveSameShape(const PictureLayer& a, const PictureLayer& b);
/// Of layers of the same shape.
[[nodiscard]] LayerDifference differenceOf(const PictureLayer& a, const PictureLayer& b,
                                           const Tolerance& tolerance);

} // namespace orca::app
