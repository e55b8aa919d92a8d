// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Highlights of brushed and woven surfaces.
///
/// The model is that of facets whose slopes are normally distributed, with a different width along each of
/// two directions (Beckmann and Spizzichino, "The Scattering of Electromagnetic Waves from Rough Surfaces",
/// 1963), and of Smith's shadowing and masking correlated by height (Heitz, "Understanding the
/// Masking-Shadowing Function in Microfacet-Based BRDFs", 2014). Because masking and shadowing are
/// normalised, the reflectance is at most 1 for every direction of light.

#include "orcaExport.h"

#include <shader.h>

/// Facets at one hit, in its local frame.
struct AnisotropicFacets {
    miVector normal;        ///< unit
    miVector along, across; ///< unit, tangent, perpendicular to one another
    miScalar alphaAlong;    ///< width of the slopes along `along`, above 0: the root mean square times sqrt 2
    miScalar alphaAcross;
};

extern "C" {

/// Share of a light's colour that facets of full reflectance reflect to the ray's origin, times the cosine of
/// the light; for a Lambert surface of full reflectance it is that cosine. Energy conserving: its integral
/// over all light directions is at most pi. 0 when the light or the viewer is behind the surface.
/// @param light to the light, unit length
[[nodiscard]] ORCA_EXPORT float compute_anisotropic_specular(const AnisotropicFacets* facets,
                                                             const miVector* light, miState* state);

/// Reflectance of a clear dielectric for unpolarised light (Fresnel's equations, in the form of Cook and
/// Torrance, "A Reflectance Model for Computer Graphics", 1982).
/// @param cosine of incidence; its absolute value is taken, at most 1
/// @param index  refractive index, at least 1; smaller values count as 1
[[nodiscard]] ORCA_EXPORT float compute_anisotropic_reflectivity(float cosine, float index);

/// Complementary error function: 2 / sqrt(pi) times the integral of exp(-t t) from x to infinity.
[[nodiscard]] ORCA_EXPORT float erffc(float x);

/// Derivatives of the hit point by the texture coordinates u and v, internal space; from the state's surface
/// derivatives or else from its first bump basis. False, with null vectors, when the hit has neither.
ORCA_EXPORT miBoolean get_derivs(miState* state, miVector* dPdu, miVector* dPdv);
}

/// Facets at a hit, brushed along the u direction turned by `angle` degrees in the surface, or along an
/// arbitrary tangent where the hit has no texture space.
[[nodiscard]] AnisotropicFacets anisotropicFacets(miState* state, miScalar angle, miScalar alphaAlong,
                                                  miScalar alphaAcross);
