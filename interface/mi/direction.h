// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// Directions that light is reflected and transmitted in, of the state's ray at its normal; internal space,
/// unit. `shiny` is the reciprocal of Ward's roughness: 5 is dull, 100 nearly a mirror. `ior_in` is the index
/// of refraction on the ray's side, `ior_out` that on the other. `samples`: a point in [0, 1)^2, as
/// `mi_sample` gives; the forms without `_x` draw one of their own.

/// The mirror direction.
void mi_reflection_dir(miVector* dir, miState* state);
void mi_reflection_dir_specular(miVector* dir, miState* state);
/// Distributed by the cosine to the normal. True, as of all below that reflect.
miBoolean mi_reflection_dir_diffuse(miVector* dir, miState* state);
miBoolean mi_reflection_dir_diffuse_x(miVector* dir, miState* state, double* samples);
/// About the mirror direction, at facets with Ward's distribution (G. Ward, "Measuring and Modeling
/// Anisotropic Reflection", 1992). A direction that would enter the surface is mirrored at its plane.
miBoolean mi_reflection_dir_glossy(miVector* dir, miState* state, miScalar shiny);
miBoolean mi_reflection_dir_glossy_x(miVector* dir, miState* state, miScalar shiny, double* samples);
/// As above with another `shiny` along `u` than along `v`, which are taken perpendicular to the normal.
miBoolean mi_reflection_dir_anisglossy(miVector* dir, miState* state, miVector* u, miVector* v,
                                       miScalar shiny_u, miScalar shiny_v);
miBoolean mi_reflection_dir_anisglossy_x(miVector* dir, miState* state, miVector* u, miVector* v,
                                         miScalar shiny_u, miScalar shiny_v, double* samples);

/// By Snell's law. False, and `dir` untouched, at total reflection, as of all below that refract.
miBoolean mi_refraction_dir(miVector* dir, miState* state, miScalar ior_in, miScalar ior_out);
miBoolean mi_transmission_dir_specular(miVector* dir, miState* state, miScalar ior_in, miScalar ior_out);
/// To the other side, distributed by the cosine to the normal.
miBoolean mi_transmission_dir_diffuse(miVector* dir, miState* state);
miBoolean mi_transmission_dir_diffuse_x(miVector* dir, miState* state, double* samples);
/// Refracted at facets with Ward's distribution.
miBoolean mi_transmission_dir_glossy(miVector* dir, miState* state, miScalar ior_in, miScalar ior_out,
                                     miScalar shiny);
miBoolean mi_transmission_dir_glossy_x(miVector* dir, miState* state, miScalar ior_in, miScalar ior_out,
                                       miScalar shiny, double* samples);
miBoolean mi_transmission_dir_anisglossy(miVector* dir, miState* state, miScalar ior_in, miScalar ior_out,
                                         miVector* u, miVector* v, miScalar shiny_u, miScalar shiny_v);
miBoolean mi_transmission_dir_anisglossy_x(miVector* dir, miState* state, miScalar ior_in, miScalar ior_out,
                                           miVector* u, miVector* v, miScalar shiny_u, miScalar shiny_v,
                                           double* samples);

miEND_INTERFACE
