// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/freeform_surface.h"

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace orca::geometry {

/// One direction of a free-form surface, or a curve, ready to be evaluated.
class SplineBasis {
public:
    explicit SplineBasis(const scene::SplineDirection& direction);

    /// What the control points from `first` on count at a parameter, with derivatives by it.
    struct Weights {
        static constexpr std::size_t most = scene::Basis::highestDegree + 1;
        std::size_t first = 0;
        std::array<double, most> values{}, slopes{};
    };
    /// @param t within the range of the direction's parameters; a joint belongs to the segment after it, the
    /// end
    ///        of the range that is used to the one before
    [[nodiscard]] Weights at(double t) const;

    [[nodiscard]] std::size_t order() const { return order_; }
    [[nodiscard]] std::size_t pointCount() const { return pointCount_; }
    /// Where segments join within the range that is used, with its two ends.
    [[nodiscard]] std::span<const double> joints() const { return joints_; }
    [[nodiscard]] double low() const { return joints_.front(); }
    [[nodiscard]] double high() const { return joints_.back(); }

private:
    void weighKnots(const double* knots, double t, Weights& weights) const;

    scene::Basis basis_;
    std::size_t order_, pointCount_;
    std::vector<double> parameters_;
    std::vector<double> joints_;
};

} // namespace orca::geometry
