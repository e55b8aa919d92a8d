// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Directional albedos of rough layers: the share of light from everywhere that they send to a viewer, or of
/// a viewer's direction that they send anywhere.

namespace vela {

/// Of facets, by the reflectance of each. The share for any reflectance that follows Schlick's approximation
/// is `normal` times that at normal incidence plus `grazing` times that at grazing incidence.
struct FacetAlbedo {
    float normal, grazing;

    /// Of facets that reflect everything.
    [[nodiscard]] float whole() const noexcept { return normal + grazing; }
};
/// Of light that facets reflect once.
/// @param roughness 0 to 1, the square root of the width of the facets' slopes
/// @param cosine    of the view with the normal, 0 to 1
[[nodiscard]] FacetAlbedo facetAlbedo(float roughness, float cosine) noexcept;
/// Its cosine-weighted mean over all views.
[[nodiscard]] FacetAlbedo meanFacetAlbedo(float roughness) noexcept;

/// Least roughness of sheen: below it grazing fibres would reflect more than arrives.
inline constexpr float leastSheenRoughness = 0.25f;
/// Of sheen.
[[nodiscard]] float sheenAlbedo(float roughness, float cosine) noexcept;

} // namespace vela
