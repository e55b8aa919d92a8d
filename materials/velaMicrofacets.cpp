// SPDX-License-Identifier: Apache-2.0
#include "velaMicrofacets.h"

#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vela {

float Microfacets::density(const miVector& normal) const noexcept {
    if (!(normal.z > 0.0f)) return 0.0f;
    const float x = normal.x / alphaX, y = normal.y / alphaY;
    const float squared = x * x + y * y + normal.z * normal.z;
    return 1.0f / (std::numbers::pi_v<float> * alphaX * alphaY * squared * squared);
}

float Microfacets::hidden(const miVector& direction) const noexcept {
    const float x = alphaX * direction.x, y = alphaY * direction.y;
    const float squared = std::max(direction.z * direction.z, 1e-12f);
    return 0.5f * (std::sqrt(1.0f + (x * x + y * y) / squared) - 1.0f);
}

float Microfacets::visible(const miVector& view, const miVector& light) const noexcept {
    return 1.0f / (1.0f + hidden(view) + hidden(light));
}

miVector Microfacets::visibleNormal(const miVector& view, float u1, float u2) const noexcept {
    // Stretched, the facets are a hemisphere, and those that the view sees mirror it to a cap of the sphere.
    const miVector stretched = normalized({alphaX * view.x, alphaY * view.y, view.z});
    const float angle = 2.0f * std::numbers::pi_v<float> * u1;
    const float z = (1.0f - u2) * (1.0f + stretched.z) - stretched.z;
    const float across = std::sqrt(std::clamp(1.0f - z * z, 0.0f, 1.0f));
    const miVector half = miVector{across * std::cos(angle), across * std::sin(angle), z} + stretched;
    return normalized({alphaX * half.x, alphaY * half.y, std::max(1e-6f, half.z)});
}

float Microfacets::visibleDensity(const miVector& view, const miVector& normal) const noexcept {
    const float facing = dot(view, normal);
    if (!(facing > 0.0f) || !(view.z > 0.0f)) return 0.0f;
    return density(normal) * facing / (view.z * (1.0f + hidden(view)));
}

} // namespace vela
