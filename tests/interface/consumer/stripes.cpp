// SPDX-License-Identifier: Apache-2.0
// A texture that needs the interface alone.
#include <shader.h>

/// Parameters of stripes, in declaration order.
struct StripesParameters {
    miColor first, second;
    miScalar width; // of one stripe, in texture space
};

extern "C" {

DLLEXPORT int stripes_version(void) {
    return 1;
}

DLLEXPORT miBoolean stripes(miColor* result, miState* state, StripesParameters* record) {
    const miScalar width = *mi_eval_scalar(&record->width);
    const int odd = static_cast<int>(floorf(state->tex_list[0].x / width)) & 1;
    *result = *mi_eval_color(odd ? &record->second : &record->first);
    return miTRUE;
}

} // extern "C"

#include "declared/stripes.h"
