// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace vela {

/// Reflectance at normal incidence of the boundary to a medium of refractive index `index`, above 0.
[[nodiscard]] float normalReflectance(float index) noexcept;

/// (1 - cosine)^5: the share of the reflectance at grazing incidence in Schlick's approximation ("An
/// Inexpensive BRDF Model for Physically-based Rendering", 1994).
[[nodiscard]] float grazingShare(float cosine) noexcept;

/// Reflectance of a clear dielectric for unpolarised light, by Fresnel's equations; 1 on total internal
/// reflection.
/// @param cosine of incidence, 0 to 1
/// @param eta    refractive index beyond the boundary over that before it
[[nodiscard]] float dielectricReflectance(float cosine, float eta) noexcept;

/// A transparent film on a surface.
struct ThinFilm {
    float thickness; ///< nanometres; 0: none
    float index;     ///< refractive index, at least 1
};

/// Reflectance of a film on a surface, with the interference of all its internal reflections (Belcour and
/// Barla, "A Practical Extension to Microfacet Theory for the Modeling of Varying Iridescence", 2017), the
/// phase shift of metals left out. 0 to 1 in each channel, alpha 0.
/// @param base reflectance of the surface below at normal incidence
/// @param edge the same at grazing incidence
[[nodiscard]] miColor filmReflectance(const ThinFilm& film, float cosine, const miColor& base,
                                      const miColor& edge) noexcept;

} // namespace vela
