// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Reflectance and transmission of water and foam.

#include "orcaExport.h"
#include "orcaVelaState.h"

#include <shader.h>

/// The mode of oceanshader_apply_foam in which foam makes the water opaque.
inline constexpr miInteger OCEAN_FOAM_OPAQUE = 2;

/// Share of light that a smooth dielectric reflects, for light of both polarisations alike (Fresnel's
/// equations).
/// @param cosine of the angle of incidence; taken between 0 and 1
/// @param index  refractive index beyond the surface, over the one before it
[[nodiscard]] miScalar oceanFresnel(miScalar cosine, miScalar index) noexcept;

extern "C" {

/// Covers water with foam. Every colour may be null; alphas stay.
/// @param foam         0 and below: bare water
/// @param illumination weight of the foam that the water is tinted with, before it is opaque
/// @param mode         OCEAN_FOAM_OPAQUE: the water's opacity grows, too
/// @param opacity      white less the transmittance
/// @param attenuated   weight of what foam hides, such as reflections
ORCA_EXPORT void oceanshader_apply_foam(miScalar foam, const miColor* illumination, const miColor* foamColor,
                                        miColor* color, miInteger mode, miColor* opacity,
                                        miColor* attenuated);

/// Share of a light that the water transmits towards the viewer.
/// @param level     compared with the cutoff, such as the height of the waves
/// @param direction to the light
/// @param softness  0 to 1: how much of the light keeps its direction
/// @param fadeRange above the cutoff, over which the strength is reached
/// @param area      the area light being sampled; null for other lights
[[nodiscard]] ORCA_EXPORT miScalar compute_oceanshader_diffuse(miState* state, miScalar level,
                                                               const miVector* direction, miScalar,
                                                               miScalar strength, miScalar softness,
                                                               miScalar cutoff, miScalar fadeRange,
                                                               const AreaLightRecord* area);

/// Strength of a highlight: facets with a distribution of ellipsoids and their mutual shadowing (Blinn,
/// "Models of Light Reflection for Computer Synthesized Pictures", 1977), with a reflectance independent of
/// the angle.
/// @param nDotL, nDotV cosines of the light's and the viewer's directions with the normal; nDotV above 0
/// @param direction    to the light, unit
/// @param reduction    of the strength along eye rays; other rays have the full strength
[[nodiscard]] ORCA_EXPORT miScalar compute_oceanshader_specular(miScalar nDotL, miScalar nDotV,
                                                                const miVector* direction, miScalar strength,
                                                                miScalar eccentricity, miScalar reduction,
                                                                const miVector* normal, miState* state);

} // extern "C"
