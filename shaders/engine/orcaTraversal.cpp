// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"

#include <shader.h>

extern "C" {

ORCA_EXPORT int orcaTraversal_version(void) {
    return 1;
}

/// For renderers that require a traversal function: does nothing and succeeds.
ORCA_EXPORT miBoolean orcaTraversal(void*, miState*, void*, void*) {
    return miTRUE;
}

} // extern "C"

#include "declared/orcaTraversal.h"
