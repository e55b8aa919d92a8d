// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velaAlbedo.h"
#include "velaFresnel.h"
#include "velaMicrofacets.h"

#include <shader.h>

namespace vela {

/// Orthonormal axes of a layer's surface in internal space, z along its normal.
struct LayerFrame {
    miVector x, y, z;

    [[nodiscard]] miVector toLocal(const miVector& v) const noexcept;
    [[nodiscard]] miVector fromLocal(const miVector& v) const noexcept;
};

/// Roughness along two directions.
struct Roughness {
    /// @param roughness  0 mirror to 1; its square is the width of the facets' slopes
    /// @param anisotropy 0 to 1: how much wider the slopes are along x than along y
    Roughness(float roughness, float anisotropy) noexcept;
    /// A mirror: rays have one direction, and lights no highlights.
    [[nodiscard]] bool sharp() const noexcept { return isSharp; }

    Microfacets facets;
    float mean; ///< of an even surface that is about as rough
    /// By how much an even surface may reflect less than this one: kept back from what is reflected several
    /// times, so that stretched facets do not reflect more than arrives.
    float margin;
    bool isSharp;
};

/// What a reflecting layer reflects of light on a facet: Schlick's approximation, or a thin film's colour for
/// the view, the same for all facets.
struct Reflectance {
    miColor normal, grazing; ///< at normal and at grazing incidence, 0 to 1

    [[nodiscard]] miColor at(float cosine) const noexcept;
    /// Cosine-weighted mean over the hemisphere.
    [[nodiscard]] miColor mean() const noexcept;
};

/// Reflection at the facets of a rough layer, light between facets included: what escapes them at first is
/// added as by Kulla and Conty, "Revisiting Physically Based Shading at Imageworks" (2017), so that facets
/// that reflect everything reflect all light. Reciprocal. Directions are local to the layer, and `view` is
/// above it.
class FacetLobe {
public:
    FacetLobe(const miVector& view, const Roughness& roughness, const Reflectance& reflectance);

    [[nodiscard]] bool sharp() const noexcept { return roughness_.sharp(); }
    /// Share of a light's colour that is reflected to the view: pi times the reflectance distribution times
    /// the cosine of the light. 0 from below.
    [[nodiscard]] miColor share(const miVector& light) const noexcept;
    /// A direction of a ray of reflected light; it may be below the surface, where the share is 0.
    [[nodiscard]] miVector direction(float u1, float u2, float u3) const noexcept;
    /// Density of `direction` over solid angle.
    [[nodiscard]] float density(const miVector& light) const noexcept;

    /// Reflected share of light from everywhere.
    [[nodiscard]] const miColor& albedo() const noexcept { return albedo_; }
    /// The same as seen from another cosine, and its cosine-weighted mean.
    [[nodiscard]] miColor albedoAt(float cosine) const noexcept;
    [[nodiscard]] miColor meanAlbedo() const noexcept;

private:
    /// Share that facets do not reflect at once.
    [[nodiscard]] float escaped(const FacetAlbedo& once) const noexcept;
    [[nodiscard]] miColor albedoOf(const FacetAlbedo& once) const noexcept;

    miVector view_;
    Roughness roughness_;
    Reflectance reflectance_;
    FacetAlbedo mean_;    ///< once reflected
    miColor multiple_;    ///< reflectance of the light that is reflected several times
    float escapedOfView_; ///< share of the view's directions that facets do not reflect at once
    miColor albedo_;
    float evenShare_; ///< of rays that are spread as light between facets is
};

} // namespace vela
