/* SPDX-License-Identifier: Apache-2.0 */
/* A texture in plain C, which needs the interface alone. */
#include <shader.h>

struct stripes {
    miColor first, second;
    miScalar width; /* of one stripe, in texture space */
};

DLLEXPORT int stripes_version(void) {
    return 1;
}

DLLEXPORT miBoolean stripes(miColor* result, miState* state, struct stripes* parameters) {
    const miScalar width = *mi_eval_scalar(&parameters->width);
    const int odd = (int)floorf(state->tex_list[0].x / width) & 1;
    *result = *mi_eval_color(odd ? &parameters->second : &parameters->first);
    return miTRUE;
}
