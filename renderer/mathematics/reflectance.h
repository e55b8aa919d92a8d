// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "mathematics/facets.h"

#include <shader.h>

namespace orca {

// Incoming directions point at the surface, outgoing ones away from it, all unit. 0 where either is behind
// it.

/// Share of unpolarised light that is reflected. @param cosine to the normal, 0 to 1; @param ior index of
/// refraction behind the surface over that before it. 1 at total reflection.
[[nodiscard]] float fresnel(float cosine, float ior) noexcept;

/// Pi times reflectance times the cosine of the outgoing direction, of facets with the slope `roughness` and
/// the masking of R. Cook and K. Torrance ("A Reflectance Model for Computer Graphics", 1982), without the
/// reflectivity of the facets. `facetCosine` becomes the cosine between a direction and its facet's normal.
[[nodiscard]] float beckmannFacets(const miVector& incoming, const miVector& outgoing, const miVector& normal,
                                   float roughness, float& facetCosine) noexcept;
/// As above with the distribution of T. Trowbridge and K. Reitz.
[[nodiscard]] float trowbridgeReitzFacets(const miVector& incoming, const miVector& outgoing,
                                          const miVector& normal, float roughness,
                                          float& facetCosine) noexcept;

/// Ward's reflectance, 1 / steradian.
[[nodiscard]] float wardReflectance(const miVector& incoming, const miVector& outgoing,
                                    const Facets& facets) noexcept;

/// Schlick's phase function, 1 / steradian. @param directionality -1 back, 0 even, 1 forward
[[nodiscard]] float schlickPhase(float cosine, float directionality) noexcept;

} // namespace orca
