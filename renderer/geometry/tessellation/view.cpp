// SPDX-License-Identifier: Apache-2.0
#include "geometry/tessellation/view.h"

#include "base/vectors.h"

#include <algorithm>
#include <cmath>

namespace orca::geometry {

namespace {

constexpr float shareOfDepth = 0.25f;

float extent(const miVector& a, const miVector& b) {
    const miVector d = b - a;
    return std::max(std::hypot(d.x, d.y), shareOfDepth * std::abs(d.z));
}

float angle(const TessellationView& view, const miVector& a, const miVector& b) {
    const miVector d = b - a;
    const float square = dot(d, d);
    if (!(square > 0.0f)) return 0.0f;
    const float t = std::clamp(-dot(a, d) / square, 0.0f, 1.0f);
    const miVector closest = a + t * d;
    const float distance = std::max(view.nearest, std::sqrt(dot(closest, closest)));
    const miVector turn = cross(a, b);
    const float seen = std::atan2(std::sqrt(dot(turn, turn)), dot(a, b));
    const float length = std::sqrt(square);
    // Next to the eye an edge spans any angle.
    return std::max(std::min(seen, length / distance), shareOfDepth * length / distance);
}

} // namespace

TessellationView viewOf(const miCamera& camera, const miScalar* worldToCamera) {
    TessellationView view{};
    std::copy_n(worldToCamera, 16, view.worldToCamera);
    view.orthographic = camera.orthographic != miFALSE;
    const float width = view.orthographic ? camera.aperture : camera.aperture / camera.focal;
    view.pixelsPerUnit = static_cast<float>(camera.x_resolution) / width;
    view.halfWidth = 0.5f * width;
    view.halfHeight = view.halfWidth / camera.aspect;
    view.nearest = std::max(1e-6f, static_cast<float>(camera.clip.min));
    return view;
}

float pixelsBetween(const TessellationView& view, const miVector& a, const miVector& b) {
    return view.pixelsPerUnit * (view.orthographic ? extent(a, b) : angle(view, a, b));
}

bool isOutside(const TessellationView& view, const miVector& a, const miVector& b) {
    constexpr float margin = 1.15f;
    const auto beyond = [&](const miVector& p) {
        const float depth = view.orthographic ? 1.0f : -p.z;
        const float w = margin * view.halfWidth * depth, h = margin * view.halfHeight * depth;
        return (p.x > w ? 1u : 0u) | (p.x < -w ? 2u : 0u) | (p.y > h ? 4u : 0u) | (p.y < -h ? 8u : 0u) |
               (p.z > 0.0f ? 16u : 0u);
    };
    return (beyond(a) & beyond(b)) != 0;
}

} // namespace orca::geometry
