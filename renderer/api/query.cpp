// SPDX-License-Identifier: Apache-2.0
#include "api/queries.h"

#include <shader.h>

using namespace orca::api;

extern "C" {

DLLEXPORT miBoolean mi_query(miQ_type query, miState* state, miTag tag, void* result, ...) {
    if (!result) return miFALSE;
    for (const auto answer : {answerAboutState, answerAboutFunction, answerAboutInstance, answerAboutLight,
                              answerAboutUserdata, answerAboutRenderer}) {
        const Answer given = answer({query, state, tag, result});
        if (given != Answer::NotMine) return given == Answer::Given;
    }
    return miFALSE;
}

} // extern "C"
