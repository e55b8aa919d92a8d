// SPDX-License-Identifier: Apache-2.0
#include "render/texture/texture_lookup.h"

#include "api/guarded.h"

#include <shader.h>

using orca::api::guardedCall;

extern "C" {

DLLEXPORT miBoolean mi_lookup_color_texture(miColor* result, miState* state, miTag texture, miVector* coord) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::lookUpColor(*result, state, texture, *coord); });
}

DLLEXPORT miBoolean mi_lookup_scalar_texture(miScalar* result, miState* state, miTag texture,
                                             miVector* coord) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::lookUpScalar(*result, state, texture, *coord); });
}

DLLEXPORT miBoolean mi_lookup_vector_texture(miVector* result, miState* state, miTag texture,
                                             miVector* coord) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::lookUpVector(*result, state, texture, *coord); });
}

DLLEXPORT miBoolean mi_lookup_filter_color_texture(miColor* result, miState* state, miTag texture,
                                                   miTexfilter* filter, miMatrix screen_to_texture) {
    return guardedCall(__func__, state, miFALSE, [&] {
        return orca::render::lookUpFilteredColor(*result, state, texture, filter, screen_to_texture);
    });
}

} // extern "C"
