// SPDX-License-Identifier: Apache-2.0
#include "geometry/freeform/patch.h"

#include "base/vectors.h"

#include <algorithm>
#include <cmath>

namespace orca::geometry {

namespace {

double between(const SplineBasis& basis, double share) {
    if (share >= 1.0) return basis.high();
    return basis.low() + share * (basis.high() - basis.low());
}

/// Across a curve, where else it is looked at: at every joint and half-way between.
std::vector<double> crossings(const SplineBasis& basis) {
    std::vector<double> result;
    for (std::size_t i = 0; i + 1 < basis.joints().size(); ++i) {
        result.push_back(basis.joints()[i]);
        result.push_back(0.5 * (basis.joints()[i] + basis.joints()[i + 1]));
    }
    result.push_back(basis.high());
    return result;
}

scene::SplineDirection restricted(scene::SplineDirection direction, double low, double high) {
    direction.low = static_cast<float>(low);
    direction.high = static_cast<float>(high);
    return direction;
}

} // namespace

Patch::Patch(const scene::FreeformSurface& surface, const scene::SplineDirection& u,
             const scene::SplineDirection& v)
    : surface_(&surface), spline_(u, v) {
    const scene::ControlNet* before = &surface.net;
    later_.reserve(surface.motions.size());
    for (const std::vector<miVector>& motion : surface.motions) {
        scene::ControlNet& net = later_.emplace_back(*before);
        for (std::size_t i = 0; i < motion.size(); ++i) net.points[i] = net.points[i] + motion[i];
        before = &net;
    }
    for (const auto& texture : surface.textures) textures_.emplace_back(texture.u, texture.v);
}

std::vector<Patch> Patch::of(const scene::FreeformSurface& surface) {
    std::vector<Patch> patches;
    patches.emplace_back(surface, surface.u, surface.v);
    if (!surface.loops.empty()) return patches;
    const std::vector<double> u = patches[0].creases(true), v = patches[0].creases(false);
    if (u.size() == 2 && v.size() == 2) return patches;
    patches.clear();
    for (std::size_t j = 0; j + 1 < v.size(); ++j)
        for (std::size_t i = 0; i + 1 < u.size(); ++i)
            patches.emplace_back(surface, restricted(surface.u, u[i], u[i + 1]),
                                 restricted(surface.v, v[j], v[j + 1]));
    return patches;
}

/// Joints at which the normal changes by more than rounding would, with both ends of the range.
std::vector<double> Patch::creases(bool alongU) const {
    const SplineBasis& along = alongU ? spline_.u() : spline_.v();
    const SplineBasis& across = alongU ? spline_.v() : spline_.u();
    std::vector<double> result{along.low()};
    for (std::size_t i = 1; i + 1 < along.joints().size(); ++i) {
        const double joint = along.joints()[i];
        // The segment before a joint is the one that a range ending there belongs to.
        const SplineSurface before(alongU ? restricted(surface_->u, along.low(), joint) : surface_->u,
                                   alongU ? surface_->v : restricted(surface_->v, along.low(), joint));
        bool isCrease = false;
        for (const double t : crossings(across)) {
            const double u = alongU ? joint : t, v = alongU ? t : joint;
            const miVector left = before.normal(surface_->net, u, v),
                           right = spline_.normal(surface_->net, u, v);
            constexpr float leastCosine = 0.9998f; // 1.1 degrees
            isCrease = isCrease || (!isNull(left) && !isNull(right) && dot(left, right) < leastCosine);
        }
        if (isCrease) result.push_back(joint);
    }
    result.push_back(along.high());
    return result;
}

void Patch::motionAt(double u, double v, miVector* motions) const {
    const SplineBasis::Weights atU = spline_.u().at(u), atV = spline_.v().at(v);
    miVector before = spline_.position(surface_->net, atU, atV);
    for (const scene::ControlNet& net : later_) {
        const miVector after = spline_.position(net, atU, atV);
        *motions++ = after - before;
        before = after;
    }
}

std::size_t Patch::textureSpaces() const {
    return std::max<std::size_t>(textures_.size(), 1);
}

void Patch::texturesAt(double u, double v, miVector* textures) const {
    const auto share = [](double t, const scene::SplineDirection& of) {
        const auto low = static_cast<double>(of.low), high = static_cast<double>(of.high);
        return (t - low) / (high - low);
    };
    const double s = share(u, surface_->u), t = share(v, surface_->v);
    if (textures_.empty()) *textures = {static_cast<float>(s), static_cast<float>(t), 0.0f};
    for (std::size_t i = 0; i < textures_.size(); ++i) {
        const SplineBasis &alongU = textures_[i].u(), &alongV = textures_[i].v();
        textures[i] = textures_[i].position(surface_->textures[i].net, alongU.at(between(alongU, s)),
                                            alongV.at(between(alongV, t)));
    }
}

std::array<double, 2> Patch::onSide(int side, double along) const {
    const SplineBasis &u = spline_.u(), &v = spline_.v();
    if (side < 2) return {between(u, along), side == 0 ? v.low() : v.high()};
    return {side == 2 ? u.low() : u.high(), between(v, along)};
}

Patch::Lines Patch::linesFor(const Refinement& refinement) const {
    return {linesAlong(refinement, true), linesAlong(refinement, false)};
}

std::vector<double> Patch::linesAlong(const Refinement& refinement, bool alongU) const {
    const SplineBasis& along = alongU ? spline_.u() : spline_.v();
    const scene::SurfaceApproximation& approximation = refinement.approximation();
    const int parts = alongU ? approximation.partsU : approximation.partsV;
    std::vector<double> lines;
    if (approximation.isParametric() && approximation.ofWhole) {
        const scene::SplineDirection& whole = alongU ? surface_->u : surface_->v;
        const double share = (along.high() - along.low()) / static_cast<double>(whole.high - whole.low);
        const int own = std::max(1, static_cast<int>(std::lround(parts * share)));
        for (int i = 0; i < own; ++i) lines.push_back(between(along, static_cast<double>(i) / own));
        lines.push_back(along.high());
        return lines;
    }
    const std::vector<double> across = crossings(alongU ? spline_.v() : spline_.u());
    for (std::size_t i = 0; i + 1 < along.joints().size(); ++i) {
        const double low = along.joints()[i], high = along.joints()[i + 1];
        int count = parts;
        if (!approximation.isParametric()) {
            int halvings = 0;
            for (const double other : across)
                halvings = std::max(halvings, refinement.halvingsOf([&](float share) {
                    const double t = share >= 1.0f ? high : low + static_cast<double>(share) * (high - low);
                    return alongU ? sample(t, other) : sample(other, t);
                }));
            count = 1 << halvings;
        }
        for (int k = 0; k < count; ++k) lines.push_back(low + (high - low) * k / count);
    }
    lines.push_back(along.high());
    return lines;
}

} // namespace orca::geometry
