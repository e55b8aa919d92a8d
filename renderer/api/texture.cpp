// SPDX-License-Identifier: Apache-2.0
#include "render/texture_lookup.h"

#include <shader.h>

using namespace orca::render;

extern "C" {

DLLEXPORT miBoolean mi_lookup_color_texture(miColor* result, miState* state, miTag texture, miVector* coord) {
    return lookUpColor(*result, state, texture, *coord, {});
}

DLLEXPORT miBoolean mi_lookup_scalar_texture(miScalar* result, miState* state, miTag texture,
                                             miVector* coord) {
    return lookUpScalar(*result, state, texture, *coord);
}

DLLEXPORT miBoolean mi_lookup_vector_texture(miVector* result, miState* state, miTag texture,
                                             miVector* coord) {
    return lookUpVector(*result, state, texture, *coord);
}

DLLEXPORT miBoolean mi_lookup_filter_color_texture(miColor* result, miState* state, miTag texture,
                                                   miTexfilter*, miMatrix screen_to_texture) {
    const miScalar* m = screen_to_texture;
    miVector coord{m[12], m[13], 0.0f};
    return lookUpColor(*result, state, texture, coord, {m[0], m[1], m[4], m[5]});
}

} // extern "C"
