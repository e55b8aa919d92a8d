// SPDX-License-Identifier: Apache-2.0
#include "orcaSpotCone.h"

#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr float pi = std::numbers::pi_v<float>;

} // namespace

LampFrame LampFrame::about(const miVector& forward) {
    constexpr float nearlyVertical = 0.9999f;
    const miVector upright =
        std::abs(forward.y) < nearlyVertical ? miVector{0.0f, 1.0f, 0.0f} : miVector{0.0f, 0.0f, -1.0f};
    const miVector right = normalized(cross(forward, upright));
    return {right, cross(right, forward), forward};
}

miVector LampFrame::of(const miVector& v) const {
    return {dot(v, right), dot(v, up), dot(v, forward)};
}

float shareBeforeEdge(float angle, float limit, float penumbra) {
    const float first = std::min(limit, limit + penumbra), last = std::max(limit, limit + penumbra);
    if (angle <= first) return 1.0f;
    if (angle >= last) return 0.0f;
    const float t = (last - angle) / (last - first);
    return t * t * (3.0f - 2.0f * t);
}

float SpotCone::rim() const {
    return std::clamp(std::max(half, half + penumbra), 0.0f, pi);
}

float SpotCone::share(float angle) const {
    const float edge = shareBeforeEdge(angle, half, penumbra);
    if (dropoff <= 0.0f || edge == 0.0f) return edge;
    return edge * std::pow(std::max(0.0f, std::cos(angle)), dropoff);
}

float SpotCone::solidAngle() const {
    const float end = std::clamp(half + 0.5f * penumbra, 1e-4f, pi);
    if (dropoff <= 0.0f) return 2.0f * pi * (1.0f - std::cos(end));
    // Nothing of a cosine's power is behind the lamp.
    const float cosine = std::max(0.0f, std::cos(end));
    return 2.0f * pi * (1.0f - std::pow(cosine, dropoff + 1.0f)) / (dropoff + 1.0f);
}

Slide::Slide(float rim) {
    constexpr float widest = 85.0f * pi / 180.0f;
    scale_ = 1.0f / std::tan(std::clamp(rim, 1e-4f, widest));
}

miVector Slide::place(const miVector& p) const {
    const float depth = std::max(p.z, 1e-6f);
    return {0.5f + 0.5f * scale_ * p.x / depth, 0.5f + 0.5f * scale_ * p.y / depth, 0.0f};
}

bool Slide::derivatives(const miVector& p, const miVector& normal, miVector& alongU, miVector& alongV) const {
    if (!(p.z > 1e-6f)) return false;
    const auto onSurface = [&](const miVector& gradient) {
        return gradient - normal * dot(gradient, normal);
    };
    const float perUnit = 0.5f * scale_ / p.z;
    const miVector u = onSurface(miVector{1.0f, 0.0f, -p.x / p.z} * perUnit);
    const miVector v = onSurface(miVector{0.0f, 1.0f, -p.y / p.z} * perUnit);
    const float uu = dot(u, u), uv = dot(u, v), vv = dot(v, v), determinant = uu * vv - uv * uv;
    if (!(determinant > 1e-10f * uu * vv)) return false;
    alongU = (u * vv - v * uv) * (1.0f / determinant);
    alongV = (v * uu - u * uv) * (1.0f / determinant);
    return true;
}
