// SPDX-License-Identifier: Apache-2.0
#include "render/buffer_values.h"

#include <shader.h>

extern "C" {

DLLEXPORT miBoolean mi_fb_put(miState* state, int index, const void* value) {
    return orca::render::putBuffer(state, index, value);
}

DLLEXPORT miBoolean mi_fb_get(miState* state, int index, void* value) {
    return orca::render::getBuffer(state, index, value);
}

DLLEXPORT void mi_opacity_set(miState* state, const miColor* opacity) {
    orca::render::setOpacity(state, *opacity);
}

DLLEXPORT miBoolean mi_opacity_get(miState* state, miColor* opacity) {
    return orca::render::getOpacity(state, *opacity);
}

} // extern "C"
