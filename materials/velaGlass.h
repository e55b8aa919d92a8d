// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velaFacetLobe.h"

#include <shader.h>

namespace vela {

/// The boundary of clear matter.
struct Glass {
    Roughness roughness;
    float eta;              ///< refractive index beyond the boundary over that on the view's side
    miColor reflectedShare; ///< of what Fresnel's equations reflect, except on total reflection; 0 to 1
    bool hasFilm;
    miColor film; ///< with a film: the reflectance instead of Fresnel's, except on total reflection

    /// Share that a facet reflects, alpha 0.
    [[nodiscard]] miColor reflected(float cosine, float relativeIndex) const noexcept;
};

/// Where light that is seen from a direction comes from.
struct GlassPath {
    miVector direction; ///< local; z above 0: reflected
    miColor weight;
};

/// One path at a rough boundary: a random walk from facet to facet, as light is reflected and refracted until
/// it leaves (Heitz et al., "Multiple-Scattering Microfacet BSDFs with the Smith Model", 2016). The weights'
/// mean over all paths is 1 for clear glass of any roughness.
/// @param view  local, above the surface
/// @param u1,u2 place of the first facet; u3 whether it reflects; all 0 to below 1
[[nodiscard]] GlassPath walkThroughGlass(const Glass& glass, const miVector& view, float u1, float u2,
                                         float u3);

} // namespace vela
