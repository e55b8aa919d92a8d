// SPDX-License-Identifier: Apache-2.0
#include "velaDomeImage.h"

#include "orcaColor.h"
#include "velaLatLong.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

/// Where `target` lies among increasing sums: the number of the step, and the place within it, 0 to 1.
struct Found {
    std::size_t index;
    double rest;
};

template <class T>
Found findInSums(const T* sums, std::size_t count, double target) {
    const T* const end = sums + count;
    const T* found = std::upper_bound(sums, end, static_cast<T>(target));
    if (found == end) found = std::lower_bound(sums, end, end[-1]); // rounded up: the last step of all
    const auto index = static_cast<std::size_t>(found - sums);
    const double before = index == 0 ? 0.0 : static_cast<double>(sums[index - 1]);
    const double step = static_cast<double>(sums[index]) - before;
    return {index, step > 0.0 ? std::clamp((target - before) / step, 0.0, 1.0) : 0.5};
}

} // namespace

DomeImage::DomeImage(miState* state, miTag texture, int columns)
    : columns_(static_cast<std::size_t>(std::max(2, columns))),
      rows_(columns_ / 2),
      colors_(columns_ * rows_),
      inRows_(columns_ * rows_),
      ofRows_(rows_) {
    const float width = 1.0f / static_cast<float>(columns_), height = 1.0f / static_cast<float>(rows_);
    for (std::size_t row = 0; row < rows_; ++row) {
        double sum = 0.0;
        for (std::size_t column = 0; column < columns_; ++column) {
            const miVector middle{(static_cast<float>(column) + 0.5f) * width,
                                  (static_cast<float>(row) + 0.5f) * height, 0.0f};
            miColor color = latLongMean(state, texture, middle, width, height);
            for (miScalar* const channel : {&color.r, &color.g, &color.b})
                if (!(*channel > 0.0f && std::isfinite(*channel))) *channel = 0.0f;
            colors_[row * columns_ + column] = withAlpha(color, 1.0f);
            sum += static_cast<double>(luminance(color));
            inRows_[row * columns_ + column] = static_cast<float>(sum);
        }
        const double solidAngle = // of a cell
            2.0 * pi / static_cast<double>(columns_) * (sineBelow(row + 1) - sineBelow(row));
        total_ += sum * solidAngle;
        ofRows_[row] = total_;
    }
}

double DomeImage::sineBelow(std::size_t row) const {
    return std::sin(pi * (static_cast<double>(row) / static_cast<double>(rows_) - 0.5));
}

DomeImage::Sample DomeImage::sample(float u, float v) const {
    const Found row = findInSums(ofRows_.data(), rows_, static_cast<double>(v) * total_);
    const float* const sums = inRows_.data() + row.index * columns_;
    const Found column =
        findInSums(sums, columns_, static_cast<double>(u) * static_cast<double>(sums[columns_ - 1]));
    const miColor& color = cell(row.index, column.index);
    const double below = sineBelow(row.index), above = sineBelow(row.index + 1);
    return {
        static_cast<float>((static_cast<double>(column.index) + column.rest) / static_cast<double>(columns_)),
        static_cast<float>(below + row.rest * (above - below)), color,
        static_cast<float>(total_ / (pi * static_cast<double>(luminance(color))))};
}

miScalar DomeImage::density(const miColor& color) const {
    return shines() ? static_cast<float>(static_cast<double>(luminance(color)) / total_) : 0.0f;
}

const miColor& DomeImage::at(const miVector& location) const {
    const auto index = [](float place, std::size_t count) {
        return std::min(static_cast<std::size_t>(std::max(0.0f, place) * static_cast<float>(count)),
                        count - 1);
    };
    return cell(index(location.y, rows_), index(location.x, columns_));
}
