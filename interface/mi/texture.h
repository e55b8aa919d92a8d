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

/// What is found beyond the edges of an image: `miTexfilter::wrap_u` and `wrap_v`.
enum { miTEXWRAP_REPEAT = 0, miTEXWRAP_CLAMP = 1, miTEXWRAP_MIRROR = 2 };

/// How a filtered look-up is done.
typedef struct miTexfilter {
    miScalar eccmax;        ///< unused: footprints are as long as they are, up to 16 times their width
    miScalar max_minor;     ///< unused
    miScalar bilinear;      ///< between texels that are larger than the footprint: not 0 bilinear, 0 cubic
    miScalar circle_radius; ///< footprints are scaled by it; 0 counts as 1
    miInteger wrap_u;       ///< miTEXWRAP_*
    miInteger wrap_v;
} miTexfilter;

/// As `mi_lookup_color_texture` over the footprint that the matrix maps from screen to texture space: rows 0
/// and 1 hold the change of (u, v) per pixel in x and y, row 3 the coordinate. Filters whatever the texture's
/// own statement says. `filter` null: bilinear, repeating.
miBoolean mi_lookup_filter_color_texture(miColor* result, miState* state, miTag texture, miTexfilter* filter,
                                         miMatrix screen_to_texture);

miEND_INTERFACE
