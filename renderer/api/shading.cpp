// SPDX-License-Identifier: Apache-2.0
#include "shading/shader_runtime.h"

#include "api/guarded.h"
#include "render/trace/trace_and_shade.h"

#include <shader.h>

#include <string>
#include <vector>

using orca::api::guarded;
using orca::api::guardedCall;
using orca::shading::contextOf;

extern "C" {

DLLEXPORT miBoolean mi_call_shader_x(miColor* result, int type, miState* state, miTag shader,
                                     void* argument) {
    return guardedCall(__func__, state, miFALSE, [&] {
        return contextOf(state).runtime.callForShader(result, type, state, shader, argument);
    });
}

DLLEXPORT miBoolean mi_call_shader(miColor* result, int type, miState* state, miTag shader) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return contextOf(state).runtime.callForShader(result, type, state, shader); });
}

DLLEXPORT miBoolean mi_call_material(miColor* result, miState* state) {
    return guardedCall(__func__, state, miFALSE, [&] { return orca::render::callMaterial(*result, state); });
}

DLLEXPORT void* mi_phen_eval(miState* state, void* parameter) {
    return guardedCall(__func__, state, parameter,
                       [&] { return contextOf(state).runtime.evaluate(state, parameter); });
}

DLLEXPORT void* mi_get_ghost(miState* state) {
    return contextOf(state).runtime.ghostTable(state->shader);
}

DLLEXPORT void mi_flush_cache(miState* state) {
    guarded(__func__, [&] { contextOf(state).runtime.flushCache(state); });
}

DLLEXPORT miBoolean mi_shaderstate_set(miState* state, const char* key, void* data, int size, int lifetime) {
    return guarded(__func__, miFALSE, [&] {
        contextOf(state).store.set(key, data, size, lifetime);
        return miTRUE;
    });
}

DLLEXPORT void* mi_shaderstate_get(miState* state, const char* key, int* size) {
    return contextOf(state).store.get(key, size);
}

DLLEXPORT void mi_shaderstate_enumerate(miState* state, miShaderstate_visitor visitor, void* user) {
    // What the visitor throws is its shader's affair and passes.
    const auto keys = guarded(__func__, {}, [&] { return contextOf(state).store.keys(); });
    contextOf(state).store.visit(keys, visitor, user);
}

} // extern "C"
