// SPDX-License-Identifier: Apache-2.0
#include "geometry/freeform/spline_basis.h"

#include <algorithm>

namespace orca::geometry {

namespace {

using Kind = scene::Basis::Kind;

/// Rows of coefficients of t^0 .. t^3 of the interpolating cubic with slopes by the neighbours (Catmull and
/// Rom, "A class of local interpolating splines", 1974).
constexpr std::array<float, 16> cardinal = {0.0f, -0.5f, 1.0f,  -0.5f, //
                                            1.0f, 0.0f,  -2.5f, 1.5f,  //
                                            0.0f, 0.5f,  2.0f,  -1.5f, //
                                            0.0f, 0.0f,  -0.5f, 0.5f};

} // namespace

SplineBasis::SplineBasis(const scene::SplineDirection& direction)
    : basis_(direction.basis),
      order_(static_cast<std::size_t>(direction.basis.degree) + 1),
      pointCount_(direction.basis.pointsFor(direction.parameters.size())),
      parameters_(direction.parameters.begin(), direction.parameters.end()) {
    if (basis_.kind == Kind::Cardinal) basis_.matrix.assign(cardinal.begin(), cardinal.end());
    if (basis_.kind == Kind::Taylor) {
        basis_.matrix.assign(order_ * order_, 0.0f);
        for (std::size_t i = 0; i < order_; ++i) basis_.matrix[i * order_ + i] = 1.0f;
    }
    joints_.push_back(direction.low);
    for (const double parameter : parameters_)
        if (parameter > joints_.back() && parameter < direction.high) joints_.push_back(parameter);
    joints_.push_back(direction.high);
}

/// B-spline functions by the recurrence of Cox and de Boor, and their slopes.
/// @param knots 2 * degree + 2 of them; t lies between the middle two, which differ
void SplineBasis::weighKnots(const double* knots, double t, Weights& weights) const {
    const std::size_t degree = order_ - 1;
    std::array<double, Weights::most> below{}; // of degree - 1
    weights.values[0] = 1.0;
    for (std::size_t p = 1; p <= degree; ++p) {
        if (p == degree) std::copy_n(weights.values.begin(), p, below.begin());
        double carried = 0.0;
        for (std::size_t r = 0; r < p; ++r) {
            const double right = knots[degree + 1 + r] - t, left = t - knots[degree + 1 + r - p];
            const double share = weights.values[r] / (right + left);
            weights.values[r] = carried + right * share;
            carried = left * share;
        }
        weights.values[p] = carried;
    }
    const auto scaled = [&](std::size_t r) { // of the functions of lower degree, r counts from 1
        return r == 0 || r > degree ? 0.0 : below[r - 1] / (knots[r + degree] - knots[r]);
    };
    for (std::size_t r = 0; r <= degree; ++r)
        weights.slopes[r] = static_cast<double>(degree) * (scaled(r) - scaled(r + 1));
}

SplineBasis::Weights SplineBasis::at(double t) const {
    Weights weights;
    const bool isSpline = basis_.kind == Kind::BSpline;
    // The segment from parameter k to the next one, which is larger.
    const std::size_t firstStart = isSpline ? order_ - 1 : 0;
    const std::size_t lastStart = parameters_.size() - (isSpline ? order_ : 1) - 1;
    const auto after = t < high() ? std::upper_bound(parameters_.begin(), parameters_.end(), t)
                                  : std::lower_bound(parameters_.begin(), parameters_.end(), high());
    auto k = static_cast<std::size_t>(std::max<std::ptrdiff_t>(after - parameters_.begin() - 1, 0));
    k = std::clamp(k, firstStart, lastStart);
    while (k > firstStart && parameters_[k] == parameters_[k + 1]) --k;
    if (isSpline) {
        weights.first = k - firstStart;
        weighKnots(&parameters_[weights.first], t, weights);
        return weights;
    }
    weights.first = k * static_cast<std::size_t>(basis_.step);
    const double length = parameters_[k + 1] - parameters_[k], local = (t - parameters_[k]) / length;
    if (basis_.kind == Kind::Bezier) {
        std::array<double, 2 * Weights::most> knots{};
        std::fill_n(knots.begin() + static_cast<std::ptrdiff_t>(order_), order_, 1.0);
        weighKnots(knots.data(), local, weights);
    } else {
        for (std::size_t i = 0; i < order_; ++i) {
            double value = 0.0, slope = 0.0;
            for (std::size_t j = order_; j-- > 0;) { // Horner
                slope = slope * local + value;
                value = value * local + static_cast<double>(basis_.matrix[i * order_ + j]);
            }
            weights.values[i] = value;
            weights.slopes[i] = slope;
        }
    }
    for (std::size_t i = 0; i < order_; ++i) weights.slopes[i] /= length;
    return weights;
}

} // namespace orca::geometry
