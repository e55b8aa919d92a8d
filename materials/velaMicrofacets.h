// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Facets of a rough surface: the distribution of Walter et al., "Microfacet Models for Refraction through
/// Rough Surfaces" (2007), there called GGX, stretched along two directions, with Smith's shadowing and
/// masking correlated by height (Heitz, "Understanding the Masking-Shadowing Function in Microfacet-Based
/// BRDFs", 2014).
///
/// Directions are unit length in the local frame of a hit, z along the shading normal, and point away from
/// the surface.

#include <shader.h>

namespace vela {

struct Microfacets {
    float alphaX, alphaY; ///< widths of the slopes along x and y, above 0

    /// Density of normals: its integral with the cosine over the hemisphere is 1.
    [[nodiscard]] float density(const miVector& normal) const noexcept;
    /// Hidden area per visible area, as seen from a direction on either side.
    [[nodiscard]] float hidden(const miVector& direction) const noexcept;
    /// Share of facets that are visible from `view` and `light` alike.
    [[nodiscard]] float visible(const miVector& view, const miVector& light) const noexcept;
    /// A normal, distributed as the facets are seen from `view`, which may be below the surface (Heitz,
    /// "Sampling the GGX Distribution of Visible Normals", 2018, in the form of Dupuy and Benyoub, "Sampling
    /// Visible GGX Normals with Spherical Caps", 2023).
    [[nodiscard]] miVector visibleNormal(const miVector& view, float u1, float u2) const noexcept;
    /// Density of `visibleNormal` over solid angle for a view above the surface.
    [[nodiscard]] float visibleDensity(const miVector& view, const miVector& normal) const noexcept;
};

} // namespace vela
