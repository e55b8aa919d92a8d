// SPDX-License-Identifier: Apache-2.0

/// The one interface function that test shaders need while a test looks at the shading room alone. The renderer's own,
/// where it is linked, takes its place.

#include "shading/call_context.h"
#include "shading/shader_runtime.h"

extern "C" __attribute__((weak, visibility("default"))) void* mi_phen_eval(miState* state, void* parameter) {
    return orca::shading::contextOf(state).runtime.evaluate(state, parameter);
}
