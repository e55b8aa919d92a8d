// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstddef>
#include <vector>

/// An image of all directions as cells of even colour, from which directions are chosen by luminance: a row
/// by the sums of the rows, then a cell of the row (Pharr, Jakob and Humphreys, "Physically Based Rendering",
/// 2016, section 14.2.4). As the light is the cells' and not the image's, the choice has no bias.
class DomeImage {
public:
    /// Averages the image.
    /// @param columns cells around the horizon, at least 2; half as many from straight down to straight up
    DomeImage(miState* state, miTag texture, int columns);

    /// False for a black image.
    [[nodiscard]] bool shines() const noexcept { return total_ > 0.0; }

    struct Sample {
        float u;         ///< place in the image
        float sine;      ///< of the elevation
        miColor color;   ///< radiance
        miScalar weight; ///< 1 / (density over solid angle * pi)
    };
    /// For a place of the unit square; the image must shine.
    [[nodiscard]] Sample sample(float u, float v) const;
    /// Density over solid angle of the samples in a cell of this colour; 0 for a black image.
    [[nodiscard]] miScalar density(const miColor& color) const;
    /// Radiance at a place in the image.
    [[nodiscard]] const miColor& at(const miVector& location) const;

private:
    [[nodiscard]] const miColor& cell(std::size_t row, std::size_t column) const {
        return colors_[row * columns_ + column];
    }
    /// Sine of the elevation at the lower edge of a row.
    [[nodiscard]] double sineBelow(std::size_t row) const;

    std::size_t columns_, rows_;
    std::vector<miColor> colors_;
    std::vector<float> inRows_;  ///< sums of luminance from the left, at the right edge of each cell
    std::vector<double> ofRows_; ///< sums of luminance times solid angle from below, at the top of each row
    double total_ = 0.0;
};
