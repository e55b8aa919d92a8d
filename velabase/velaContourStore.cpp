// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"

#include <shader.h>

/// velaContourStore has no parameters.
struct VelaContourStoreParameters {};

extern "C" {

ORCA_EXPORT int velaContourStore_version(void) {
    return 1;
}

/// Keeps what velaContourContrast compares.
ORCA_EXPORT miBoolean velaContourStore(miStdInfo* info, int* size, miState* state,
                                       VelaContourStoreParameters*, miColor* color) {
    *size = sizeof *info;
    *info = {
        state->point,    state->normal, *color,         state->material,
        state->instance, state->label,  state->pri_idx, state->reflection_level + state->refraction_level};
    return miTRUE;
}

} // extern "C"

#include "declared/velaContourStore.h"
