// SPDX-License-Identifier: Apache-2.0
#include "render/light/light_cone.h"

#include "base/vectors.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::render {

namespace {

constexpr float pi = std::numbers::pi_v<float>;

/// A unit vector turned about a perpendicular unit axis, radians.
miVector turned(const miVector& v, const miVector& about, float angle) {
    return std::cos(angle) * v + std::sin(angle) * cross(about, v);
}

} // namespace

LightCone::LightCone(const miVector& coneAxis, float coneSpread, float coneFalloff)
    : axis(coneAxis),
      spread(coneSpread),
      falloff(coneFalloff),
      cosineOfSpread(std::cos(coneSpread)),
      sineOfSpread(std::sin(coneSpread)),
      cosineOfFalloff(std::cos(coneFalloff)) {
}

LightCone LightCone::everyDirection() {
    return {{0.0f, 0.0f, 1.0f}, pi, pi / 2};
}

// Measure and union after A. Conty Estevez and C. Kulla, "Importance Sampling of Many Lights with Adaptive
// Tree Splitting", 2018.

float LightCone::measure() const {
    const float end = std::min(spread + falloff, pi);
    return 2.0f * pi * (1.0f - cosineOfSpread) +
           pi / 2 *
               (2.0f * end * sineOfSpread - std::cos(spread - 2.0f * end) - 2.0f * spread * sineOfSpread +
                cosineOfSpread);
}

LightCone merged(const LightCone& a, const LightCone& b) {
    if (b.spread > a.spread) return merged(b, a);
    const float falloff = std::max(a.falloff, b.falloff);
    const float between = std::acos(std::clamp(dot(a.axis, b.axis), -1.0f, 1.0f));
    if (std::min(between + b.spread, pi) <= a.spread) return {a.axis, a.spread, falloff};
    const float spread = (a.spread + between + b.spread) / 2;
    const miVector about = cross(a.axis, b.axis);
    if (spread >= pi || isNull(about)) return {a.axis, pi, falloff};
    return {turned(a.axis, normalized(about), spread - a.spread), spread, falloff};
}

} // namespace orca::render
