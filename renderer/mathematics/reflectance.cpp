// SPDX-License-Identifier: Apache-2.0
#include "mathematics/reflectance.h"

#include "base/vectors.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca {

namespace {

constexpr float pi = std::numbers::pi_v<float>;

/// Cosines that facet models are made of.
struct FacetCosines {
    float incoming, outgoing; ///< to the normal
    float facet;              ///< of the facet's normal to the surface's
    float incomingToFacet;    ///< as large for the outgoing direction
};

/// False where either direction is behind the surface.
bool cosinesOf(const miVector& incoming, const miVector& outgoing, const miVector& normal, FacetCosines& c) {
    c.incoming = -dot(incoming, normal);
    c.outgoing = dot(outgoing, normal);
    if (!(c.incoming > 0.0f) || !(c.outgoing > 0.0f)) return false;
    const miVector facet = normalized(outgoing - incoming);
    c.facet = dot(facet, normal);
    c.incomingToFacet = std::clamp(dot(facet, outgoing), 1e-6f, 1.0f);
    return true;
}

/// @param density pi times the facets' distribution
float facetReflectance(const FacetCosines& c, float density) {
    const float visible =
        std::min(1.0f, 2.0f * c.facet * std::min(c.incoming, c.outgoing) / c.incomingToFacet);
    return density * visible / (4.0f * c.incoming);
}

float slopeOf(float roughness) {
    return std::max(roughness, 1e-3f);
}

} // namespace

float fresnel(float cosine, float ior) noexcept {
    const float c = std::min(std::abs(cosine), 1.0f);
    const float square = ior * ior - 1.0f + c * c;
    if (!(square > 0.0f)) return 1.0f;
    const float g = std::sqrt(square);
    const float away = (g - c) / (g + c);
    const float ratio = (c * (g + c) - 1.0f) / (c * (g - c) + 1.0f);
    return std::min(1.0f, 0.5f * away * away * (1.0f + ratio * ratio));
}

float beckmannFacets(const miVector& incoming, const miVector& outgoing, const miVector& normal,
                     float roughness, float& facetCosine) noexcept {
    FacetCosines c;
    if (!cosinesOf(incoming, outgoing, normal, c)) return 0.0f;
    facetCosine = c.incomingToFacet;
    const float square = c.facet * c.facet, slope = slopeOf(roughness), slopeSquare = slope * slope;
    const float density =
        std::exp((square - 1.0f) / (square * slopeSquare)) / (slopeSquare * square * square);
    return facetReflectance(c, density);
}

float trowbridgeReitzFacets(const miVector& incoming, const miVector& outgoing, const miVector& normal,
                            float roughness, float& facetCosine) noexcept {
    FacetCosines c;
    if (!cosinesOf(incoming, outgoing, normal, c)) return 0.0f;
    facetCosine = c.incomingToFacet;
    const float slope = slopeOf(roughness), slopeSquare = slope * slope;
    const float spread = c.facet * c.facet * (slopeSquare - 1.0f) + 1.0f;
    return facetReflectance(c, slopeSquare / (spread * spread));
}

float wardReflectance(const miVector& incoming, const miVector& outgoing, const Facets& facets) noexcept {
    const float before = -dot(incoming, facets.normal), behind = dot(outgoing, facets.normal);
    if (!(before > 0.0f) || !(behind > 0.0f)) return 0.0f;
    const miVector half = outgoing - incoming;
    const float height = dot(half, facets.normal);
    const float along = dot(half, facets.along) / (facets.widthAlong * height);
    const float across = dot(half, facets.across) / (facets.widthAcross * height);
    return std::exp(-(along * along + across * across)) /
           (4.0f * pi * facets.widthAlong * facets.widthAcross * std::sqrt(before * behind));
}

float schlickPhase(float cosine, float directionality) noexcept {
    const float k = std::clamp(directionality, -0.9999f, 0.9999f);
    const float spread = 1.0f - k * cosine;
    return (1.0f - k * k) / (4.0f * pi * spread * spread);
}

} // namespace orca
