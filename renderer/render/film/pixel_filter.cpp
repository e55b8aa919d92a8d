// SPDX-License-Identifier: Apache-2.0
#include "render/film/pixel_filter.h"

#include <shader.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::render {

namespace {

constexpr int tableSteps = 1024;
constexpr int integrationSteps = 8192;
constexpr unsigned samplesPerNegativeLobe = 4;

float usualWidth(char kind) {
    switch (kind) {
    case miFILTER_TRIANGLE: return 2.0f;
    case miFILTER_GAUSS: return 3.0f;
    case miFILTER_MITCHELL:
    case miFILTER_LANCZOS: return 4.0f;
    default: return 1.0f;
    }
}

/// D. Mitchell and A. Netravali, "Reconstruction Filters in Computer Graphics", 1988, with B = C = 1/3; x in
/// [0, 2].
double mitchell(double x) {
    constexpr double b = 1.0 / 3.0;
    constexpr double c = 1.0 / 3.0;
    if (x < 1.0) return ((12 - 9 * b - 6 * c) * x * x * x + (-18 + 12 * b + 6 * c) * x * x + (6 - 2 * b)) / 6;
    return ((-b - 6 * c) * x * x * x + (6 * b + 30 * c) * x * x + (-12 * b - 48 * c) * x + (8 * b + 24 * c)) /
           6;
}

double sinc(double x) {
    if (std::abs(x) < 1e-9) return 1.0;
    return std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

/// Filter value at `t` in [-1, 1], the support's ends.
double filterValue(char kind, double t) {
    const double x = std::abs(t);
    switch (kind) {
    case miFILTER_TRIANGLE: return 1.0 - x;
    case miFILTER_GAUSS: {
        // Falls to e^-4.5, three standard deviations, at the end of the support and is lowered to zero there.
        constexpr double steepness = 4.5;
        return std::exp(-steepness * x * x) - std::exp(-steepness);
    }
    case miFILTER_MITCHELL: return mitchell(2.0 * x);
    case miFILTER_LANCZOS: return sinc(2.0 * x) * sinc(x);
    default: return 1.0;
    }
}

} // namespace

PixelFilter::PixelFilter(char kind, float width, float height)
    : x_(tabulate(kind, width > 0.0f ? width : usualWidth(kind))),
      y_(tabulate(kind, height > 0.0f ? height : usualWidth(kind))),
      positiveMass_(x_.positive.mass * y_.positive.mass + x_.negative.mass * y_.negative.mass),
      negativeMass_(x_.positive.mass * y_.negative.mass + x_.negative.mass * y_.positive.mass) {
    const float total = positiveMass_ - negativeMass_;
    positiveMass_ /= total;
    negativeMass_ /= total;
}

PixelFilter::Axis PixelFilter::tabulate(char kind, float support) {
    Axis axis{support, {}, {}};
    const auto tabulateSign = [&](double sign, Lobe& lobe) {
        std::vector<double> cumulative(integrationSteps + 1, 0.0);
        for (int i = 0; i < integrationSteps; ++i) {
            const double t = (i + 0.5) / integrationSteps * 2.0 - 1.0;
            cumulative[static_cast<std::size_t>(i) + 1] =
                cumulative[static_cast<std::size_t>(i)] + std::max(0.0, sign * filterValue(kind, t));
        }
        const double total = cumulative.back();
        lobe.mass = static_cast<float>(total / integrationSteps);
        if (total <= 0.0) return;
        lobe.inverse.resize(tableSteps + 1);
        std::size_t i = 0;
        for (int step = 0; step <= tableSteps; ++step) {
            const double target = total * step / tableSteps;
            while (i + 1 < cumulative.size() - 1 && cumulative[i + 1] < target) ++i;
            const double gain = cumulative[i + 1] - cumulative[i];
            const double inside = gain > 0.0 ? (target - cumulative[i]) / gain : 0.0;
            lobe.inverse[static_cast<std::size_t>(step)] =
                static_cast<float>(((static_cast<double>(i) + inside) / integrationSteps - 0.5) * support);
        }
    };
    tabulateSign(1.0, axis.positive);
    tabulateSign(-1.0, axis.negative);
    return axis;
}

float PixelFilter::position(const Lobe& lobe, float u) {
    const float at = u * tableSteps;
    const int step = std::min(static_cast<int>(at), tableSteps - 1);
    const float low = lobe.inverse[static_cast<std::size_t>(step)];
    const float high = lobe.inverse[static_cast<std::size_t>(step) + 1];
    // The two negative lobes of an axis are apart: nothing lies between them.
    if (high - low > 0.25f) return at - static_cast<float>(step) < 0.5f ? low : high;
    return low + (high - low) * (at - static_cast<float>(step));
}

PixelFilter::Placement PixelFilter::place(unsigned index, float u, float v, float lobe) const {
    if (negativeMass_ <= 0.0f) return {position(x_.positive, u), position(y_.positive, v), 1.0f};

    const bool negative = index % samplesPerNegativeLobe == samplesPerNegativeLobe - 1;
    if (negative) {
        const float firstShare = x_.positive.mass * y_.negative.mass;
        const float secondShare = x_.negative.mass * y_.positive.mass;
        const float weight = -negativeMass_ * samplesPerNegativeLobe;
        if (lobe * (firstShare + secondShare) < firstShare)
            return {position(x_.positive, u), position(y_.negative, v), weight};
        return {position(x_.negative, u), position(y_.positive, v), weight};
    }
    const float bothPositive = x_.positive.mass * y_.positive.mass;
    const float bothNegative = x_.negative.mass * y_.negative.mass;
    const float weight = positiveMass_ * samplesPerNegativeLobe / (samplesPerNegativeLobe - 1);
    if (lobe * (bothPositive + bothNegative) < bothPositive)
        return {position(x_.positive, u), position(y_.positive, v), weight};
    return {position(x_.negative, u), position(y_.negative, v), weight};
}

} // namespace orca::render
