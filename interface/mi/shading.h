// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// False for tag 0. `result` may be of any type; of records it gets the first colour (writing-a-shader.md).
miBoolean mi_call_shader(miColor* result, int type, miState* state, miTag shader);
/// As above with the shader's fourth argument.
miBoolean mi_call_shader_x(miColor* result, int type, miState* state, miTag shader, void* argument);
/// Parts of the hit's material.
miBoolean mi_call_material(miColor* result, miState* state);

/// Value of a connected parameter of the running shader, valid until that shader returns. Parameters that are
/// connected to members of one result may share one call of its shader while the state stays as it is; a
/// parameter that is read again is computed again.
void* mi_phen_eval(miState* state, void* parameter);
/// Ghost table of the running shader: a word for each of its parameter block, not 0 where the parameter that
/// begins there is connected. Null when nothing is connected.
void* mi_get_ghost(miState* state);
/// Drops cached results of connected shaders.
void mi_flush_cache(miState* state);

/// Lifetimes of shader-state entries.
enum {
    miSS_LIFETIME_EYERAY = 1, ///< dropped after each eye sample
    miSS_LIFETIME_RECT = 2    ///< as long as the base state
};

/// Stores a copy of `size` bytes under a key, for all states derived from the same base state; null data or
/// size 0 deletes. The address of an entry stays while it lives.
miBoolean mi_shaderstate_set(miState* state, const char* key, void* data, int size, int lifetime);
/// The stored bytes, to be read and changed in place; null when absent. `size` may be null.
void* mi_shaderstate_get(miState* state, const char* key, int* size);
typedef miBoolean (*miShaderstate_visitor)(const char* key, void* data, int size, void* user);
/// Calls the visitor for every entry until it answers false.
void mi_shaderstate_enumerate(miState* state, miShaderstate_visitor visitor, void* user);

miEND_INTERFACE
