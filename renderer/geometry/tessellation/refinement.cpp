// SPDX-License-Identifier: Apache-2.0
#include "geometry/tessellation/refinement.h"

#include "base/vectors.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::geometry {

namespace {

/// Outlines look round and shading has no facets; a surface far away or small stays coarse.
scene::SurfaceApproximation smoothPicture() {
    scene::SurfaceApproximation smooth;
    smooth.inView = true;
    smooth.distance = 0.2f;
    smooth.angle = 20.0f;
    smooth.leastHalvings = 1;
    return smooth;
}

} // namespace

Refinement::Refinement(const scene::SurfaceApproximation* given, const SurfaceViews& views)
    : approximation_(given ? *given : smoothPicture()), view_(views.view) {
    scene::SurfaceApproximation& all = approximation_;
    if (all.inView && !view_) {
        all.length = all.distance = 0.0f;
        all.inView = false;
    }
    if (!all.isParametric() && !(all.length > 0.0f) && !(all.distance > 0.0f) && !(all.angle > 0.0f))
        all.angle = smoothPicture().angle;
    constexpr int halvingsWhereNoneAreGiven = 7;
    if (all.mostHalvings < 0) all.mostHalvings = halvingsWhereNoneAreGiven;
    all.mostHalvings = std::min(all.mostHalvings, mostHalvings);
    all.leastHalvings = std::min(all.leastHalvings, all.mostHalvings);
    if (all.angle > 0.0f && all.angle < 180.0f)
        leastCosine_ = std::cos(all.angle * std::numbers::pi_v<float> / 180.0f);
    if (!all.inView) return;
    for (const miScalar* place : views.localToWorld) {
        std::array<miScalar, 16>& matrix = toCamera_.emplace_back();
        mi_matrix_prod(matrix.data(), place, view_->worldToCamera);
    }
}

bool Refinement::coarsen() {
    scene::SurfaceApproximation& all = approximation_;
    if (all.isParametric()) {
        if (all.partsU == 1 && all.partsV == 1) return false;
        all.partsU = (all.partsU + 1) / 2;
        all.partsV = (all.partsV + 1) / 2;
        return true;
    }
    if (all.mostHalvings == 0) return false;
    --all.mostHalvings;
    all.leastHalvings = std::min(all.leastHalvings, all.mostHalvings);
    return true;
}

bool Refinement::isWithin(const miVector& a, const miVector& b, float limit) const {
    if (!approximation_.inView) {
        const miVector d = b - a;
        return dot(d, d) <= limit * limit;
    }
    return std::all_of(toCamera_.begin(), toCamera_.end(), [&](const std::array<miScalar, 16>& matrix) {
        const miVector inCameraA = transformPoint(a, matrix.data()),
                       inCameraB = transformPoint(b, matrix.data());
        const float allowed = limit * (isOutside(*view_, inCameraA, inCameraB) ? coarserOutside : 1.0f);
        return pixelsBetween(*view_, inCameraA, inCameraB) <= allowed;
    });
}

bool Refinement::isFine(std::span<const SurfaceSample, perPiece + 1> piece) const {
    const SurfaceSample &a = piece.front(), &b = piece.back();
    if (approximation_.length > 0.0f && !isWithin(a.point, b.point, approximation_.length)) return false;
    for (std::size_t i = 1; i < piece.size(); ++i) {
        const miVector& p = piece[i].point;
        if (approximation_.distance > 0.0f && i + 1 < piece.size()) {
            const miVector chord = b.point - a.point;
            const float square = dot(chord, chord);
            const float t = square > 0.0f ? std::clamp(dot(p - a.point, chord) / square, 0.0f, 1.0f) : 0.0f;
            if (!isWithin(p, a.point + t * chord, approximation_.distance)) return false;
        }
        const miVector& normal = piece[i].normal;
        if (!isNull(normal) && !isNull(a.normal) && dot(normal, a.normal) < leastCosine_) return false;
    }
    return true;
}

} // namespace orca::geometry
