// SPDX-License-Identifier: Apache-2.0
#include "render/query/query.h"

#include "api/guarded.h"

#include <shader.h>

#include <cstdarg>

extern "C" {

DLLEXPORT miBoolean mi_query(miQ_type query, miState* state, miTag tag, void* result, ...) {
    void* second = nullptr;
    if (query == miQ_FUNC_TLS_GETALL) { // the others are called without
        va_list rest;
        va_start(rest, result);
        second = va_arg(rest, void*);
        va_end(rest);
    }
    return orca::api::guarded(__func__, miFALSE, [&] {
        return orca::render::answerQuery(query, {state, tag, result, second});
    });
}

} // extern "C"
