// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene.h"
#include "shading.h"

/// True when the parameter at `param` of the running shader is connected to another shader.
#define mi_is_connected(state, param)                                                                        \
    ((state)->shader->ghost_offs != 0 &&                                                                     \
     *(const miUint*)((const char*)(param) + (state)->shader->ghost_offs) != 0)

/// True when any parameter of the running shader is connected.
#define mi_has_connections(state) ((miBoolean)((state)->shader->ghost_offs != 0))

/// The evaluation rule: address of a parameter's value, computed when the parameter is connected.
#define mi_eval(state, param)                                                                                \
    (mi_is_connected(state, param) ? mi_phen_eval((state), (param)) : (void*)(param))

/// Typed forms; they expect a variable named `state` in scope.
#define mi_eval_boolean(param) ((miBoolean*)mi_eval(state, (param)))
#define mi_eval_integer(param) ((miInteger*)mi_eval(state, (param)))
#define mi_eval_scalar(param) ((miScalar*)mi_eval(state, (param)))
#define mi_eval_vector(param) ((miVector*)mi_eval(state, (param)))
#define mi_eval_transform(param) ((miScalar*)mi_eval(state, (param)))
#define mi_eval_color(param) ((miColor*)mi_eval(state, (param)))
#define mi_eval_tag(param) ((miTag*)mi_eval(state, (param)))
