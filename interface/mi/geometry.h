// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// Vectors at the three corners of the hit triangle, as the object has them when the shutter opens: object
/// space, weighted by the first three of the state's `bary` at the hit. Valid until the same thread's next
/// call.
/// @param which 'p' points, 'n' normals, 'm' motion over the whole shutter, 't' texture coordinates, 'd' and
///     'e' their derivatives dP/du and dP/dv, 'x' and 'y' bump basis
/// @param ntex number of the texture space, from 0, for 't'; else unused
/// False, and the pointers untouched, where the object has none, and away from surfaces.
miBoolean mi_tri_vectors(miState* state, int which, int ntex, miVector** a, miVector** b, miVector** c);

/// Width of a pixel at the hit, across the ray's whole path from the camera; scene units.
miScalar mi_raster_unit(miState* state);
/// How the hit moves along its surface from a pixel to the next, right and up; internal space. Exact for eye
/// rays of a camera without lens shaders; of other rays, the axes of the pixel's footprint (as H. Igehy,
/// "Tracing Ray Differentials", 1999, without the surfaces' curvature). False away from surfaces.
miBoolean mi_ray_differential(miState* state, miVector* dx, miVector* dy);
/// Those differentials as `mi_lookup_filter_color_texture` takes them: in the first texture space, about the
/// first of the state's texture coordinates. False where the surface has no texture derivatives.
miBoolean mi_ray_differential_transform(miState* state, miMatrix screen_to_texture);

miEND_INTERFACE
