/* SPDX-License-Identifier: Apache-2.0 */

/* The interface is plain C: this source is compiled as such. */

#include <shader.h>

struct testPlain {
    miBoolean on;
    int i_values;
    int n_values;
    miScalar values[1];
    miColor tint;
};

DLLEXPORT int testPlain_version(void) {
    return 2;
}

/* Tint times the sum of the values, or black when off. */
DLLEXPORT miBoolean testPlain(miColor* result, miState* state, struct testPlain* parameters) {
    const miColor tint = *mi_eval_color(&parameters->tint);
    miScalar* values = parameters->values + *mi_eval_integer(&parameters->i_values);
    miScalar sum = 0.0f;
    int i;
    for (i = 0; i < *mi_eval_integer(&parameters->n_values); ++i) sum += *mi_eval_scalar(&values[i]);
    result->r = result->g = result->b = result->a = 0.0f;
    if (!*mi_eval_boolean(&parameters->on)) return miFALSE;
    result->r = tint.r * sum;
    result->g = tint.g * sum;
    result->b = tint.b * sum;
    result->a = tint.a;
    return miTRUE;
}
