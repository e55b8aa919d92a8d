// SPDX-License-Identifier: Apache-2.0
#include "render/query/query.h"

#include "api/guarded.h"

#include <shader.h>

extern "C" {

DLLEXPORT miBoolean mi_query(miQ_type query, miState* state, miTag tag, void* result, ...) {
    return orca::api::guarded(__func__, miFALSE, [&] {
        return orca::render::answerQuery(query, {state, tag, result});
    });
}

} // extern "C"
