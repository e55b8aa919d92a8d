// SPDX-License-Identifier: Apache-2.0
#include "geometry/singular_times.h"

#include "base/transform.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace orca::geometry {

namespace {

/// The determinant of matrices blended from start to end: c0 + c1 t + c2 t^2 + c3 t^3.
struct Cubic {
    double c0, c1, c2, c3;

    [[nodiscard]] double at(double t) const { return c0 + t * (c1 + t * (c2 + t * c3)); }
    /// Its extrema in [0, 1], ascending; where it has none, the ends.
    [[nodiscard]] std::array<double, 2> extrema() const {
        const double a = 3.0 * c3, b = 2.0 * c2, discriminant = b * b - 4.0 * a * c1;
        if (!(discriminant >= 0.0)) return {0.0, 1.0};
        // Without cancellation; a quotient by zero is infinite and ends up at an end.
        const double q = -0.5 * (b + std::copysign(std::sqrt(discriminant), b));
        std::array<double, 2> found{q / a, c1 / q};
        for (double& t : found) t = t > 0.0 ? std::min(t, 1.0) : 0.0; // not-a-numbers as well
        if (found[0] > found[1]) std::swap(found[0], found[1]);
        return found;
    }
};

Cubic determinantOfBlend(const Transform& start, const Transform& end) {
    const auto at = [&](double t) {
        Transform blend;
        for (std::size_t i = 0; i < 16; ++i) blend.m[i] = (1.0 - t) * start.m[i] + t * end.m[i];
        return determinant(blend);
    };
    // Through four of its points.
    const double p0 = at(0.0), p1 = at(1.0), m1 = at(-1.0), p2 = at(2.0);
    const double c2 = 0.5 * (p1 + m1) - p0;
    const double odd = 0.5 * (p1 - m1);
    const double c3 = (p2 - p0 - 4.0 * c2 - 2.0 * odd) / 6.0;
    return {p0, odd - c3, c2, c3};
}

constexpr float instant = 1e-6f; // of the shutter

} // namespace

void SingularTimes::add(const miScalar* start, const miScalar* end, float startTime, float endTime) {
    const Cubic volume = determinantOfBlend(Transform::from(start), Transform::from(end));
    const double all = std::max(std::abs(volume.at(0.0)), std::abs(volume.at(1.0)));
    const auto enter = [&](double t) {
        times_.push_back(startTime + static_cast<float>(t) * (endTime - startTime));
    };
    constexpr double nothingLeft = 1e-10; // of the volume
    const auto [first, second] = volume.extrema();
    const std::array<double, 4> stops{0.0, first, second, 1.0};
    for (const double t : {first, second})
        if (std::abs(volume.at(t)) <= nothingLeft * all) enter(t);
    for (std::size_t i = 0; i < 3; ++i) {
        double low = stops[i], high = stops[i + 1];
        if (!((volume.at(low) < 0.0) != (volume.at(high) < 0.0))) continue;
        for (int halving = 0; halving < 50; ++halving) {
            const double middle = 0.5 * (low + high);
            ((volume.at(middle) < 0.0) == (volume.at(low) < 0.0) ? low : high) = middle;
        }
        enter(low);
    }
}

void SingularTimes::sort() {
    std::sort(times_.begin(), times_.end());
}

float SingularTimes::nextRegular(float time) const {
    auto singular = std::lower_bound(times_.begin(), times_.end(), time - instant);
    for (; singular != times_.end() && *singular - time < instant; ++singular)
        time = *singular + 1.5f * instant;
    if (time <= 1.0f) return time;
    // Singular as the shutter closes: before that instead.
    return 1.0f - 4.0f * instant;
}

} // namespace orca::geometry
