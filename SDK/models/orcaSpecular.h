// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Highlight strength of one light sample, by model. The strength is a share of the light's colour, before
/// the material's specular colour; never negative. Seen along eye rays it is the bare strength; along every
/// other ray it is multiplied by the cosine, and light from behind the surface makes no highlight.

#include "orcaExport.h"

#include <shader.h>

extern "C" {

/// Cosine lobe about the mirror direction (Phong, "Illumination for Computer Generated Pictures", 1975).
/// @param mirror   mirror direction of the ray, unit length
/// @param light    to the light, any length
/// @param exponent above 0; the larger, the smaller the highlight
/// @param nDotL    cosine between the normal and the light's direction
[[nodiscard]] ORCA_EXPORT float compute_phong_specular(const miVector* mirror, const miVector* light,
                                                       miState* state, float exponent, float nDotL);

/// Lobe of bounded extent about the mirror direction: 1 at its centre, 0 from its rim on.
/// @param mirror     unit length
/// @param whiteness  below 0.1 the whole highlight fades with it
/// @param roughness  1: falls off linearly; above: stays bright towards the rim; below: falls off at once
/// @param size       extent, as 1 less the cosine at the rim
/// @param light      to the light, any length
[[nodiscard]] ORCA_EXPORT float compute_phongE_specular(const miVector* mirror, float whiteness,
                                                        float roughness, float size, float nDotL,
                                                        const miVector* light, miState* state);

/// Facets with a distribution of ellipsoids, their mutual shadowing, and reflectance that rises towards
/// grazing angles (Blinn, "Models of Light Reflection for Computer Synthesized Pictures", 1977).
/// @param light        to the light, unit length
/// @param normal       unit length
/// @param lightCosine  between the normal and the light's direction
/// @param viewCosine   between the normal and the direction to the viewer; above 0
/// @param eccentricity 0 to 1: 0 for a mirror's point, 1 for a highlight all over the surface
/// @param rollOff      0 to 1: reflectance of a facet seen head on; it is 1 at grazing angles
[[nodiscard]] ORCA_EXPORT float compute_blinn_specular(const miVector* light, const miVector* normal,
                                                       miState* state, float lightCosine, float viewCosine,
                                                       float eccentricity, float rollOff, float nDotL);
}
