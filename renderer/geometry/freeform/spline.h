// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/freeform/spline_basis.h"
#include "geometry/tessellation/refinement.h"

#include <array>

namespace orca::geometry {

/// A free-form surface that can be evaluated: a tensor product of two bases, rational or not.
class SplineSurface {
public:
    SplineSurface(const scene::SplineDirection& u, const scene::SplineDirection& v);

    [[nodiscard]] const SplineBasis& u() const { return u_; }
    [[nodiscard]] const SplineBasis& v() const { return v_; }

    struct Point {
        miVector position, byU, byV; ///< with derivatives by the parameters
    };
    /// @param net control points that go with the directions, u first
    [[nodiscard]] miVector position(const scene::ControlNet& net, const SplineBasis::Weights& atU,
                                    const SplineBasis::Weights& atV) const;
    [[nodiscard]] Point evaluate(const scene::ControlNet& net, const SplineBasis::Weights& atU,
                                 const SplineBasis::Weights& atV) const;
    /// Unit normal, cross product of the derivatives; where these vanish or are parallel, as at a pole, its
    /// limit. Null where there is none.
    [[nodiscard]] miVector normal(const scene::ControlNet& net, double u, double v) const;
    /// Position and normal.
    [[nodiscard]] SurfaceSample sample(const scene::ControlNet& net, double u, double v) const;

private:
    struct Derivatives;
    [[nodiscard]] Derivatives derivatives(const scene::ControlNet& net, const SplineBasis::Weights& atU,
                                          const SplineBasis::Weights& atV) const;
    [[nodiscard]] std::array<double, 3> crossAt(const scene::ControlNet& net, double u, double v) const;

    SplineBasis u_, v_;
};

/// A curve in the parameter plane of surfaces.
class PlaneCurve {
public:
    explicit PlaneCurve(const scene::SplineCurve& curve) : basis_(curve.direction), net_(curve.net) {}

    [[nodiscard]] const SplineBasis& basis() const { return basis_; }
    [[nodiscard]] std::array<double, 2> at(double t) const;

private:
    SplineBasis basis_;
    const scene::ControlNet& net_;
};

} // namespace orca::geometry
