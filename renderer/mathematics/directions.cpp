// SPDX-License-Identifier: Apache-2.0
#include "mathematics/directions.h"

#include "base/orthonormal_basis.h"
#include "base/vectors.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca {

namespace {

constexpr float fullTurn = 2.0f * std::numbers::pi_v<float>;

} // namespace

miVector mirrorDirection(const miVector& incoming, const miVector& normal) noexcept {
    return incoming - 2.0f * dot(incoming, normal) * normal;
}

bool refract(const miVector& incoming, const miVector& normal, float ior, miVector& refracted) noexcept {
    const float cosine = -dot(incoming, normal);
    const float square = 1.0f - ior * ior * (1.0f - cosine * cosine);
    if (!(square >= 0.0f)) return false;
    refracted = normalized(ior * incoming + (ior * cosine - std::sqrt(square)) * normal);
    return true;
}

miVector cosineDirection(const miVector& axis, SamplePlace place) noexcept {
    const float radius = std::sqrt(place.x), angle = fullTurn * place.y;
    return normalized(basisAbout(axis).combine(radius * std::cos(angle), radius * std::sin(angle),
                                               std::sqrt(std::max(0.0f, 1.0f - place.x))));
}

miVector facetNormal(const Facets& facets, SamplePlace place) noexcept {
    // Slopes are normally distributed, with alpha / sqrt(2) as their standard deviation.
    const float slope = std::sqrt(-std::log(1.0f - std::min(place.x, 0.9999999f)));
    const float angle = fullTurn * place.y;
    return normalized(facets.normal + facets.widthAlong * slope * std::cos(angle) * facets.along +
                      facets.widthAcross * slope * std::sin(angle) * facets.across);
}

miVector glossyReflection(const miVector& incoming, const Facets& facets, SamplePlace place) noexcept {
    const miVector direction = mirrorDirection(incoming, facetNormal(facets, place));
    const float height = dot(direction, facets.normal);
    return normalized(height < 0.0f ? direction - 2.0f * height * facets.normal : direction);
}

bool glossyRefraction(const miVector& incoming, const Facets& facets, float ior, SamplePlace place,
                      miVector& refracted) noexcept {
    const miVector facet = facetNormal(facets, place);
    // A facet that faces away from the ray is hidden behind others.
    const miVector& seen = dot(incoming, facet) < 0.0f ? facet : facets.normal;
    miVector direction;
    if (!refract(incoming, seen, ior, direction)) return false;
    const float height = dot(direction, facets.normal);
    refracted = height > 0.0f ? direction - 2.0f * height * facets.normal : direction;
    return true;
}

} // namespace orca
