// SPDX-License-Identifier: Apache-2.0
#include "render/texture/texture_lookup.h"

#include "api/guarded.h"
#include "render/context/render_context.h"

#include <mi/texture_file.h>
#include <shader.h>

#include <algorithm>
#include <string>
#include <vector>

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

DLLEXPORT miBoolean mi_texture_file(char* path, int size, miState* state, miTag texture) {
    if (size > 0) path[0] = '\0';
    return guardedCall(__func__, state, miFALSE, [&] {
        const orca::render::Frame& frame = orca::render::renderContextOf(state).frame;
        const auto* const element = frame.database.find<orca::scene::TextureElement>(texture);
        if (!element || size <= 0) return miFALSE;
        const std::vector<std::string> files = frame.textures.files(*element);
        if (files.empty()) return miFALSE;
        const std::size_t length = std::min(files.front().size(), static_cast<std::size_t>(size) - 1);
        std::copy_n(files.front().data(), length, path);
        path[length] = '\0';
        return miTRUE;
    });
}

} // extern "C"
