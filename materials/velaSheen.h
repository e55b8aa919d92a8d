// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace vela {

/// Fuzz of fibres upright on a surface: the distribution of Estevez and Kulla, "Production Friendly
/// Microfacet Sheen BRDF" (2017), with the masking of Neubelt and Pettineo, "Crafting a Next-Gen Material
/// Pipeline" (2013). Share of a light's colour that fibres reflect to the view: pi times the reflectance
/// distribution times the cosine of the light; its mean over the hemisphere is sheenAlbedo.
/// @param view,light local, unit length; 0 when either is below
/// @param roughness  leastSheenRoughness to 1
[[nodiscard]] float sheenShare(const miVector& view, const miVector& light, float roughness) noexcept;

} // namespace vela
