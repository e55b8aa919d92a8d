// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// Models of reflection. `in` points at the surface, as the state's `dir`, `out` away from it, as the
/// direction to a light; both and the normals are unit. 0 where either is behind the surface.

/// Share of unpolarised light that a smooth surface reflects, at the angle of the state's ray; 1 at total
/// reflection (A. Fresnel).
miScalar mi_fresnel_reflection(miState* state, miScalar ior_in, miScalar ior_out);
/// As above from the cosines to the normal of the ray, `t1`, and of the refracted ray, `t2`.
miScalar mi_fresnel(miScalar n1, miScalar n2, miScalar t1, miScalar t2);

/// Highlight of a light in direction `dir`: cosine to the mirror direction, to a power (B. T. Phong,
/// "Illumination for Computer Generated Pictures", 1975).
miScalar mi_phong_specular(miScalar exponent, miState* state, miVector* dir);

/// Share of a light's colour that facets send back, as a diffuse surface's is the cosine to the light: pi
/// times reflectance times that cosine. `roughness` is the slope of the facets, `ior` the index of
/// refraction. Blinn's facets are distributed by Trowbridge and Reitz (J. Blinn, "Models of Light Reflection
/// for Computer Synthesized Pictures", 1977).
miScalar mi_blinn_specular(const miVector* in, const miVector* out, const miVector* normal,
                           miScalar roughness, miScalar ior);
/// As above with Beckmann's distribution, for each colour channel's own index (R. Cook, K. Torrance, "A
/// Reflectance Model for Computer Graphics", 1982). False, and black, without a highlight; alpha 1.
miBoolean mi_cooktorr_specular(miColor* result, const miVector* in, const miVector* out,
                               const miVector* normal, miScalar roughness, const miColor* ior);

/// Reflectance, 1 / steradian: it weighs light that falls in by the cosine to the normal. `shiny` as in
/// `mi_reflection_dir_glossy` (G. Ward, "Measuring and Modeling Anisotropic Reflection", 1992).
miScalar mi_ward_glossy(const miVector* in, const miVector* out, const miVector* normal, miScalar shiny);
miScalar mi_ward_anisglossy(const miVector* in, const miVector* out, const miVector* normal,
                            const miVector* u, const miVector* v, miScalar shiny_u, miScalar shiny_v);

/// Phase function of scattering in a volume, 1 / steradian: it adds up to 1 over all directions.
/// `directionality` -1 to 1: back, evenly, forward (P. Blasi, B. Le Saec, C. Schlick, "A Rendering Algorithm
/// for Discrete Volume Density Objects", 1993).
miScalar mi_schlick_scatter(const miVector* in, const miVector* out, miScalar directionality);

miEND_INTERFACE
