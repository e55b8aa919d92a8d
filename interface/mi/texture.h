// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// Looks a texture up at `coord` ((0, 0) lower left, (1, 1) upper right; integer parts are dropped). A
/// texture shader is called with `coord` in `state->tex`. False, result untouched, for tag 0 or an unreadable
/// image.
miBoolean mi_lookup_color_texture(miColor* result, miState* state, miTag texture, miVector* coord);
miBoolean mi_lookup_scalar_texture(miScalar* result, miState* state, miTag texture, miVector* coord);
miBoolean mi_lookup_vector_texture(miVector* result, miState* state, miTag texture, miVector* coord);

/// Filter of a texture look-up: eccentricity and level bounds of the pyramid.
typedef struct miTexfilter {
    miScalar eccmax;
    miScalar max_minor;
    miScalar bilinear;
    miScalar circle_radius;
} miTexfilter;

/// As `mi_lookup_color_texture` over the footprint that the matrix maps from screen to texture space: rows 0
/// and 1 hold the change of (u, v) per pixel in x and y.
miBoolean mi_lookup_filter_color_texture(miColor* result, miState* state, miTag texture, miTexfilter* filter,
                                         miMatrix screen_to_texture);

miEND_INTERFACE
