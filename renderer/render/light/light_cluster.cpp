// SPDX-License-Identifier: Apache-2.0
#include "render/light/light_cluster.h"

#include "base/vectors.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

constexpr float leastOfDirection = 0.02f; // profiles and slides can send light where none was looked for
constexpr float leastOfSurface = 0.05f;   // translucent things take light from behind

struct Angle {
    float cosine, sine; // 0 to pi

    static Angle ofCosine(float cosine) {
        cosine = std::clamp(cosine, -1.0f, 1.0f);
        return {cosine, std::sqrt(1.0f - cosine * cosine)};
    }
    /// The difference, at least 0.
    [[nodiscard]] Angle minus(const Angle& other) const {
        if (cosine > other.cosine) return {1.0f, 0.0f};
        return {cosine * other.cosine + sine * other.sine, sine * other.cosine - cosine * other.sine};
    }
};

float raised(float share, float least) {
    return least + (1.0f - least) * share;
}

/// The place nearest to the centre along a ray through a volume.
miVector nearestOnRay(const LightReceiver& receiver, const miVector& centre) {
    const float along = dot(centre - receiver.point, receiver.towardStart);
    return receiver.point + std::clamp(along, 0.0f, receiver.length) * receiver.towardStart;
}

float surfaceShare(const LightReceiver& receiver, const miVector& towardLight, const Angle& extent) {
    if (isNull(receiver.normal)) return 1.0f;
    const Angle nearest = Angle::ofCosine(dot(receiver.normal, towardLight)).minus(extent);
    return raised(std::max(0.0f, nearest.cosine), leastOfSurface);
}

} // namespace

miVector LightCluster::centre() const {
    return 0.5f * (low + high);
}

// As the estimate of A. Conty Estevez and C. Kulla, "Importance Sampling of Many Lights with Adaptive Tree
// Splitting", 2018, with a measured falloff in place of the inverse square of the distance.
float LightCluster::importance(const LightReceiver& receiver, float farthest) const {
    constexpr Angle every{-1.0f, 0.0f};
    if (kind == Kind::Everywhere) return falloff[0];
    if (kind == Kind::Directed)
        return falloff[0] *
               surfaceShare(receiver, -1.0f * cone.axis, {cone.cosineOfSpread, cone.sineOfSpread});
    const miVector middle = centre();
    const bool onRay = !isNull(receiver.towardStart);
    const miVector point = onRay ? nearestOnRay(receiver, middle) : receiver.point;
    const miVector fromLight = point - middle, toCorner = 0.5f * (high - low);
    const float square = dot(fromLight, fromLight), radiusSquare = dot(toCorner, toCorner);
    const float distance = std::sqrt(std::max({square, radiusSquare, 1e-30f}));
    const float strength = falloff.at(distance / farthest);
    if (onRay) return strength;
    if (!(square > radiusSquare)) return strength * surfaceShare(receiver, receiver.normal, every);

    const miVector direction = (1.0f / distance) * fromLight;
    const float sine = std::sqrt(radiusSquare) / distance;
    const Angle extent{std::sqrt(1.0f - sine * sine), sine}, spread{cone.cosineOfSpread, cone.sineOfSpread};
    const Angle off = Angle::ofCosine(dot(cone.axis, direction)).minus(spread).minus(extent);
    const float shining = off.cosine > cone.cosineOfFalloff ? off.cosine : 0.0f;
    return strength * raised(shining, leastOfDirection) * surfaceShare(receiver, -1.0f * direction, extent);
}

LightCluster merged(const LightCluster& a, const LightCluster& b) {
    using Kind = LightCluster::Kind;
    LightCluster both = a;
    both.falloff.add(b.falloff);
    if (a.kind == b.kind) {
        both.cone = merged(a.cone, b.cone);
        both.low = {std::min(a.low.x, b.low.x), std::min(a.low.y, b.low.y), std::min(a.low.z, b.low.z)};
        both.high = {std::max(a.high.x, b.high.x), std::max(a.high.y, b.high.y),
                     std::max(a.high.z, b.high.z)};
    } else {
        both.kind = Kind::Everywhere;
    }
    return both;
}

} // namespace orca::render
