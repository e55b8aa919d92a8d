// SPDX-License-Identifier: Apache-2.0
#include "geometry/freeform/spline.h"

#include "base/vectors.h"

#include <cmath>

namespace orca::geometry {

namespace {

using Vector = std::array<double, 3>;

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double lengthOf(const Vector& a) {
    return std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
}
miVector single(const Vector& a) {
    return {static_cast<float>(a[0]), static_cast<float>(a[1]), static_cast<float>(a[2])};
}

/// A point in homogeneous coordinates.
struct Sum {
    Vector point{};
    double weight = 0.0;

    void add(double share, const miVector& p, double w) {
        share *= w;
        point[0] += share * static_cast<double>(p.x);
        point[1] += share * static_cast<double>(p.y);
        point[2] += share * static_cast<double>(p.z);
        weight += share;
    }
    void add(double share, const Sum& other) {
        for (std::size_t i = 0; i < 3; ++i) point[i] += share * other.point[i];
        weight += share * other.weight;
    }
};

/// Sums are divided by their weights only where the net has any: the bases need not add up to 1.
double divisor(const scene::ControlNet& net, const Sum& sum) {
    return net.weights.empty() ? 1.0 : sum.weight;
}

double weightOf(const scene::ControlNet& net, std::size_t i) {
    return net.weights.empty() ? 1.0 : static_cast<double>(net.weights[i]);
}

} // namespace

struct SplineSurface::Derivatives {
    Vector position{}, byU{}, byV{}, byUV{};
};

SplineSurface::SplineSurface(const scene::SplineDirection& u, const scene::SplineDirection& v)
    : u_(u), v_(v) {
}

miVector SplineSurface::position(const scene::ControlNet& net, const SplineBasis::Weights& atU,
                                 const SplineBasis::Weights& atV) const {
    Sum sum;
    for (std::size_t j = 0; j < v_.order(); ++j) {
        const std::size_t row = (atV.first + j) * u_.pointCount() + atU.first;
        Sum alongU;
        for (std::size_t i = 0; i < u_.order(); ++i)
            alongU.add(atU.values[i], net.points[row + i], weightOf(net, row + i));
        sum.add(atV.values[j], alongU);
    }
    const double w = divisor(net, sum);
    return single({sum.point[0] / w, sum.point[1] / w, sum.point[2] / w});
}

SplineSurface::Derivatives SplineSurface::derivatives(const scene::ControlNet& net,
                                                      const SplineBasis::Weights& atU,
                                                      const SplineBasis::Weights& atV) const {
    Sum sum, sumU, sumV, sumUV;
    for (std::size_t j = 0; j < v_.order(); ++j) {
        const std::size_t row = (atV.first + j) * u_.pointCount() + atU.first;
        Sum values, slopes;
        for (std::size_t i = 0; i < u_.order(); ++i) {
            const double w = weightOf(net, row + i);
            values.add(atU.values[i], net.points[row + i], w);
            slopes.add(atU.slopes[i], net.points[row + i], w);
        }
        sum.add(atV.values[j], values);
        sumU.add(atV.values[j], slopes);
        sumV.add(atV.slopes[j], values);
        sumUV.add(atV.slopes[j], slopes);
    }
    if (net.weights.empty()) return {sum.point, sumU.point, sumV.point, sumUV.point};
    Derivatives result;
    for (std::size_t i = 0; i < 3; ++i) {
        const double w = sum.weight;
        const double p = result.position[i] = sum.point[i] / w;
        const double byU = result.byU[i] = (sumU.point[i] - sumU.weight * p) / w;
        const double byV = result.byV[i] = (sumV.point[i] - sumV.weight * p) / w;
        result.byUV[i] = (sumUV.point[i] - sumUV.weight * p - sumU.weight * byV - sumV.weight * byU) / w;
    }
    return result;
}

SplineSurface::Point SplineSurface::evaluate(const scene::ControlNet& net, const SplineBasis::Weights& atU,
                                             const SplineBasis::Weights& atV) const {
    const Derivatives all = derivatives(net, atU, atV);
    return {single(all.position), single(all.byU), single(all.byV)};
}

/// Cross product of the derivatives, or where one of them vanishes, of what it grows from; not unit length.
std::array<double, 3> SplineSurface::crossAt(const scene::ControlNet& net, double u, double v) const {
    const Derivatives all = derivatives(net, u_.at(u), v_.at(v));
    const double alongU = lengthOf(all.byU), alongV = lengthOf(all.byV), twist = lengthOf(all.byUV);
    const double rangeU = u_.high() - u_.low(), rangeV = v_.high() - v_.low();
    constexpr double vanishing = 1e-6; // of what it comes to across the surface
    const auto inward = [](double t, const SplineBasis& basis) {
        return t > 0.5 * (basis.low() + basis.high()) ? -1.0 : 1.0;
    };
    Vector first = all.byU, second = all.byV;
    if (alongU <= vanishing * twist * rangeV) {
        const double sign = inward(v, v_);
        for (std::size_t i = 0; i < 3; ++i) first[i] = sign * all.byUV[i];
    } else if (alongV <= vanishing * twist * rangeU) {
        const double sign = inward(u, u_);
        for (std::size_t i = 0; i < 3; ++i) second[i] = sign * all.byUV[i];
    }
    Vector result = cross(first, second);
    if (lengthOf(result) <= vanishing * lengthOf(first) * lengthOf(second)) result = {};
    return result;
}

miVector SplineSurface::normal(const scene::ControlNet& net, double u, double v) const {
    Vector result = crossAt(net, u, v);
    if (lengthOf(result) == 0.0) {
        // Folded here: the normal close by, toward the middle.
        constexpr double step = 1e-4;
        u += step * (0.5 * (u_.low() + u_.high()) - u);
        v += step * (0.5 * (v_.low() + v_.high()) - v);
        result = crossAt(net, u, v);
    }
    const double length = lengthOf(result);
    if (!(length > 0.0) || !std::isfinite(length)) return {0, 0, 0};
    return single({result[0] / length, result[1] / length, result[2] / length});
}

SurfaceSample SplineSurface::sample(const scene::ControlNet& net, double u, double v) const {
    return {position(net, u_.at(u), v_.at(v)), normal(net, u, v)};
}

std::array<double, 2> PlaneCurve::at(double t) const {
    const SplineBasis::Weights weights = basis_.at(t);
    Sum sum;
    for (std::size_t i = 0; i < basis_.order(); ++i)
        sum.add(weights.values[i], net_.points[weights.first + i], weightOf(net_, weights.first + i));
    const double w = divisor(net_, sum);
    return {sum.point[0] / w, sum.point[1] / w};
}

} // namespace orca::geometry
