// SPDX-License-Identifier: Apache-2.0
#include "render/texture/texture_lookup.h"

#include <shader.h>

using namespace orca::render;
using orca::image::TextureLookup;

namespace {

TextureLookup::Wrap wrapOf(miInteger wrap) {
    switch (wrap) {
    case miTEXWRAP_CLAMP: return TextureLookup::Wrap::Clamp;
    case miTEXWRAP_MIRROR: return TextureLookup::Wrap::Mirror;
    default: return TextureLookup::Wrap::Repeat;
    }
}

} // namespace

extern "C" {

DLLEXPORT miBoolean mi_lookup_color_texture(miColor* result, miState* state, miTag texture, miVector* coord) {
    return lookUpColor(*result, state, texture, *coord);
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
                                                   miTexfilter* filter, miMatrix screen_to_texture) {
    const miScalar* m = screen_to_texture;
    TextureLookup how;
    how.filtered = true;
    float scale = 1.0f;
    if (filter) {
        how.wrapS = wrapOf(filter->wrap_u);
        how.wrapT = wrapOf(filter->wrap_v);
        if (filter->bilinear == 0.0f) how.magnified = TextureLookup::Magnified::Cubic;
        if (filter->circle_radius > 0.0f) scale = filter->circle_radius;
    }
    how.footprint = {m[0] * scale, m[1] * scale, m[4] * scale, m[5] * scale};
    return lookUpColor(*result, state, texture, {m[12], m[13], m[14]}, &how);
}

} // extern "C"
