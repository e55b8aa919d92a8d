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

/// Of a unit vector that makes this cosine with the normal.
float surfaceShare(const LightReceiver& receiver, float cosine) {
    if (isNull(receiver.normal)) return 1.0f;
    return raised(std::clamp(cosine, 0.0f, 1.0f), leastOfSurface);
}

/// Of a unit vector that makes this cosine with the axis.
float directionShare(const LightCone& cone, float cosine) {
    const Angle off = Angle::ofCosine(cosine).minus({cone.cosineOfSpread, cone.sineOfSpread});
    return raised(off.cosine > cone.cosineOfFalloff ? off.cosine : 0.0f, leastOfDirection);
}

/// How far the middles of a box's quarters reach along a unit vector, about its centre.
float reach(const miVector& halfSize, const miVector& along) {
    const miVector share = 0.5f * halfSize;
    return share.x * std::abs(along.x) + share.y * std::abs(along.y) + share.z * std::abs(along.z);
}

} // namespace

miVector LightCluster::centre() const {
    return 0.5f * (low + high);
}

// Light that falls on a surface, as in A. Conty Estevez and C. Kulla, "Importance Sampling of Many Lights
// with Adaptive Tree Splitting", 2018, with a measured falloff in place of the inverse square of the
// distance. Of a cluster that is as close as it is large, the few nearest lights give most of the light: its
// lights are taken as spread evenly over an area, half of them, a quarter and so on at the distances that
// follow.
float LightCluster::importance(const LightReceiver& receiver, float farthest) const {
    if (kind == Kind::Everywhere) return falloff[0];
    if (kind == Kind::Directed) {
        const Angle facing = Angle::ofCosine(-dot(receiver.normal, cone.axis));
        return falloff[0] *
               surfaceShare(receiver, facing.minus({cone.cosineOfSpread, cone.sineOfSpread}).cosine);
    }
    const miVector middle = centre(), halfSize = 0.5f * (high - low);
    const bool onRay = !isNull(receiver.towardStart);
    const miVector toPoint = (onRay ? nearestOnRay(receiver, middle) : receiver.point) - middle;
    const miVector distances{std::abs(toPoint.x), std::abs(toPoint.y), std::abs(toPoint.z)};
    const miVector outside{std::max(0.0f, distances.x - halfSize.x), std::max(0.0f, distances.y - halfSize.y),
                           std::max(0.0f, distances.z - halfSize.z)};
    const miVector beyond = distances + halfSize;
    const float nearest = dot(outside, outside), spread = dot(beyond, beyond) - nearest; // squares
    const float alongAxis = dot(toPoint, cone.axis) + reach(halfSize, cone.axis);
    const float alongNormal = -dot(toPoint, receiver.normal) + reach(halfSize, receiver.normal);
    const auto arriving = [&](float shareOfArea) {
        const float distance = std::sqrt(std::max(nearest + shareOfArea * spread, 1e-30f));
        const float strength = falloff.at(distance / farthest);
        if (onRay) return strength;
        return strength * directionShare(cone, alongAxis / distance) *
               surfaceShare(receiver, alongNormal / distance);
    };
    float sum = 0.0f, rest = 1.0f; // of its lights
    for (std::uint32_t number = lights; number > 1; number /= 2) {
        rest *= 0.5f;
        sum += rest * arriving(rest);
    }
    return sum + rest * arriving(0.5f * rest);
}

LightCluster merged(const LightCluster& a, const LightCluster& b) {
    using Kind = LightCluster::Kind;
    LightCluster both = a;
    both.lights += b.lights;
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
