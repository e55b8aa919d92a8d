// SPDX-License-Identifier: Apache-2.0
#include "render/context/render_context.h"
#include "shading/shader_runtime.h"

#include <shader.h>

using orca::render::renderContextOf;
using orca::shading::contextOf;

extern "C" {

DLLEXPORT miBoolean mi_call_shader_x(miColor* result, int type, miState* state, miTag shader,
                                     void* argument) {
    return contextOf(state).runtime.call(result, type, state, shader, argument);
}

DLLEXPORT miBoolean mi_call_shader(miColor* result, int type, miState* state, miTag shader) {
    return contextOf(state).runtime.call(result, type, state, shader);
}

DLLEXPORT miBoolean mi_call_material(miColor* result, miState* state) {
    const miMaterial* material = renderContextOf(state).frame.materialOf(state->material);
    return material ? contextOf(state).runtime.call(result, miSHADER_MATERIAL, state, material->shader)
                    : miFALSE;
}

DLLEXPORT void* mi_phen_eval(miState* state, void* parameter) {
    return contextOf(state).runtime.evaluate(state, parameter);
}

DLLEXPORT void mi_flush_cache(miState* state) {
    contextOf(state).runtime.flushCache(state);
}

DLLEXPORT miBoolean mi_shaderstate_set(miState* state, const char* key, void* data, int size, int lifetime) {
    contextOf(state).store.set(key, data, size, lifetime);
    return miTRUE;
}

DLLEXPORT void* mi_shaderstate_get(miState* state, const char* key, int* size) {
    return contextOf(state).store.get(key, size);
}

DLLEXPORT void mi_shaderstate_enumerate(miState* state, miShaderstate_visitor visitor, void* user) {
    contextOf(state).store.enumerate(visitor, user);
}

} // extern "C"
