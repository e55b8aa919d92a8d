// SPDX-License-Identifier: Apache-2.0
#include "test_shaders.h"

#include <stdexcept>

using namespace orca::test;

extern "C" {

DLLEXPORT EventListener testEvent = nullptr;

static void tell(const char* event, miState* state, void* parameters) {
    if (testEvent) testEvent(event, state, parameters);
}

/// Sum of its parameters.
DLLEXPORT int testAdd_version(void) {
    return 1;
}
DLLEXPORT void testAdd_init(miState* state, AddParameters* parameters, miBoolean* instanceInitRequested) {
    tell("testAdd_init", state, parameters);
    if (!parameters) *instanceInitRequested = miTRUE;
    else mi_eval_scalar(&parameters->a);
}
DLLEXPORT void testAdd_exit(miState* state, AddParameters* parameters) {
    tell("testAdd_exit", state, parameters);
}
DLLEXPORT miBoolean testAdd(miScalar* result, miState* state, AddParameters* parameters) {
    tell("testAdd", state, parameters);
    const miScalar a = *mi_eval_scalar(&parameters->a);
    *result += a + *mi_eval_scalar(&parameters->b);
    return miTRUE;
}

/// A struct result; the elements say where they come from.
DLLEXPORT int testPalette_version(void) {
    return 1;
}
DLLEXPORT miBoolean testPalette(Palette* result, miState* state, void* parameters) {
    tell("testPalette", state, parameters);
    result->color = {1, 2, 3, 4};
    result->weight += 5; // on top of zero
    result->axis = {6, 7, 8};
    return miTRUE;
}

DLLEXPORT int testWeighted_version(void) {
    return 1;
}
DLLEXPORT miBoolean testWeighted(miScalar* result, miState* state, WeightedParameters* parameters) {
    const int first = *mi_eval_integer(&parameters->i_elements),
              count = *mi_eval_integer(&parameters->n_elements);
    *result = 0;
    for (int i = first; i < first + count; ++i) {
        LightArrayElement& element = parameters->elements[i];
        const miScalar scale = *mi_eval_scalar(&element.scale);
        *result += scale * mi_eval_vector(&element.offset)->x;
    }
    return miTRUE;
}

DLLEXPORT int testThrow_version(void) {
    return 1;
}
DLLEXPORT miBoolean testThrow(miColor*, miState*, void*) {
    throw std::runtime_error("out of paint");
}

/// Writes its fourth argument's value, and answers whether there is one.
DLLEXPORT int testArgument_version(void) {
    return 1;
}
DLLEXPORT miBoolean testArgument(miScalar* result, miState*, void*, void* argument) {
    if (!argument) return miFALSE;
    *result = *static_cast<miScalar*>(argument);
    return miTRUE;
}

} // extern "C"
