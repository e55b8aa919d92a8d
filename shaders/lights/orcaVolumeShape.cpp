// SPDX-License-Identifier: Apache-2.0
#include "orcaVolumeShape.h"

#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr float ringRadius = 0.75f, tubeRadius = 0.25f; // of a torus

float coneRadius(float endRadius, float z) {
    return endRadius + (1.0f - endRadius) * 0.5f * (1.0f - z);
}

/// The nearest point of the shape's middle, and the distance from it over that of the surface.
struct Depth {
    miVector core;
    float share;
};

Depth depthIn(const VolumeShape& shape, const miVector& p) {
    const float fromAxis = std::hypot(p.x, p.y);
    const miVector onAxis{0.0f, 0.0f, p.z};
    const float beyondEnds = std::abs(p.z) > 1.0f ? 2.0f : 0.0f; // outside
    switch (shape.kind) {
    case VOLUME_SPHERE: return {{0.0f, 0.0f, 0.0f}, length(p)};
    case VOLUME_CYLINDER: return {onAxis, std::max(fromAxis, beyondEnds)};
    case VOLUME_CONE: {
        const float radius = coneRadius(std::max(0.0f, shape.coneEndRadius), p.z);
        const float share = fromAxis > 0.0f ? fromAxis / std::max(radius, 1e-12f) : 0.0f;
        return {onAxis, std::max(share, beyondEnds)};
    }
    case VOLUME_TORUS: {
        const miVector outward =
            fromAxis > 0.0f ? miVector{p.x / fromAxis, p.y / fromAxis, 0.0f} : miVector{1.0f, 0.0f, 0.0f};
        const miVector core = outward * ringRadius;
        return {core, length(p - core) / tubeRadius};
    }
    default: return {{0.0f, 0.0f, 0.0f}, std::max({std::abs(p.x), std::abs(p.y), std::abs(p.z)})};
    }
}

/// Height of the surface above a point of the shape.
float topAbove(const VolumeShape& shape, const miVector& p) {
    const float fromAxis = std::hypot(p.x, p.y);
    const auto arch = [](float radius, float across) {
        return std::sqrt(std::max(0.0f, radius * radius - across * across));
    };
    switch (shape.kind) {
    case VOLUME_SPHERE: return arch(1.0f, fromAxis);
    case VOLUME_TORUS: return arch(tubeRadius, fromAxis - ringRadius);
    case VOLUME_CONE: {
        const float end = std::max(0.0f, shape.coneEndRadius);
        return fromAxis <= end || end >= 1.0f ? 1.0f : 1.0f - 2.0f * (fromAxis - end) / (1.0f - end);
    }
    default: return 1.0f;
    }
}

bool inArc(float arc, const miVector& p) {
    if (arc >= 360.0f) return true;
    const float degrees = std::atan2(p.y, p.x) * (180.0f / std::numbers::pi_v<float>);
    return (degrees < 0.0f ? degrees + 360.0f : degrees) <= arc;
}

} // namespace

std::optional<VolumeShape::Path> VolumeShape::at(const miVector& point, miInteger direction) const {
    const Depth depth = depthIn(*this, point);
    if (!(depth.share <= 1.0f) || !inArc(arc, point)) return std::nullopt;
    if (direction == DIRECTION_OUTWARD) return Path{depth.core, depth.share};
    if (direction == DIRECTION_INWARD && depth.share > 0.0f)
        return Path{depth.core + (point - depth.core) * (1.0f / depth.share), 1.0f - depth.share};
    // Downwards; also what is left of inward light in the middle.
    const float half = kind == VOLUME_TORUS ? tubeRadius : 1.0f;
    const miVector top{point.x, point.y, std::max(point.z, topAbove(*this, point))};
    if (direction == DIRECTION_INWARD) return Path{top, 1.0f};
    return Path{top, std::clamp(0.5f * (half - point.z) / half, 0.0f, 1.0f)};
}
