// SPDX-License-Identifier: Apache-2.0
#include "velaGlass.h"

#include "velaRandom.h"

#include "orcaColor.h"
#include "orcaTracing.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace vela {

namespace {

/// Heights of the facets are evenly distributed from -1 to 1.
float shareBelow(float height) {
    return std::clamp(0.5f * (height + 1.0f), 0.0f, 1.0f);
}
float heightOfShare(float share) {
    return std::clamp(2.0f * share - 1.0f, -1.0f, 1.0f);
}

/// Facets that a ray crosses per unit of depth, signed: below 0 for a ray that comes down.
float crossings(const Microfacets& facets, const miVector& ray) {
    const float hidden = facets.hidden(ray);
    return ray.z > 0.0f ? hidden : -1.0f - hidden;
}

/// Height at which a ray from `height` meets a facet; none when it leaves upwards.
std::optional<float> nextHeight(const Microfacets& facets, const miVector& ray, float height, float u) {
    if (ray.z > 0.9999f) return std::nullopt;
    if (ray.z < -0.9999f) return heightOfShare(u * shareBelow(height));
    if (std::abs(ray.z) < 1e-4f) return height;
    const float perDepth = crossings(facets, ray);
    const float leaving = ray.z > 0.0f ? std::pow(shareBelow(height), perDepth) : 0.0f;
    if (u > 1.0f - leaving) return std::nullopt;
    return heightOfShare(shareBelow(height) / std::pow(1.0f - u, 1.0f / perDepth));
}

} // namespace

miColor Glass::reflected(float cosine, float relativeIndex) const noexcept {
    const float fresnel = dielectricReflectance(cosine, relativeIndex);
    if (fresnel >= 1.0f) return withAlpha(WHITE, 0.0f);
    return withAlpha((hasFilm ? film : WHITE * fresnel) * reflectedShare, 0.0f);
}

GlassPath walkThroughGlass(const Glass& glass, const miVector& view, float u1, float u2, float u3) {
    constexpr int mostFacets = 64;
    const Microfacets& facets = glass.roughness.facets;
    RandomSequence random(u1, u2);
    miVector ray = -view;
    miColor weight = withAlpha(WHITE, 0.0f);
    bool above = true; // the ray is on the view's side
    float height = 1.0f;
    for (int facet = 0; facet < mostFacets; ++facet) {
        // Below the surface everything is turned upside down.
        const miVector upright = above ? ray : -ray;
        if (!glass.roughness.sharp()) {
            const auto met = nextHeight(facets, upright, above ? height : -height, random.next());
            if (!met) return {ray, weight};
            height = above ? *met : -*met;
        } else if (facet > 0) {
            return {ray, weight};
        }
        miVector normal = glass.roughness.sharp() ? miVector{0.0f, 0.0f, 1.0f}
                          : facet == 0            ? facets.visibleNormal(-upright, u1, u2)
                                       : facets.visibleNormal(-upright, random.next(), random.next());
        if (!above) normal = -normal;

        const float eta = above ? glass.eta : 1.0f / glass.eta;
        const miColor reflected = glass.reflected(-dot(ray, normal), eta);
        const float chance = std::clamp(luminance(reflected), 0.0f, 1.0f);
        const float chosen = facet == 0 ? u3 : random.next();
        miVector refracted;
        if (chosen < chance || !refractedDirection(refracted, ray, normal, 1.0f / eta)) {
            weight *= reflected * (1.0f / std::max(chance, 1e-6f));
            ray = mirrored(ray, normal);
        } else {
            weight *= (WHITE - reflected) * (1.0f / (1.0f - chance));
            ray = refracted;
            above = !above;
        }
    }
    return {ray, BLACK}; // trapped
}

} // namespace vela
