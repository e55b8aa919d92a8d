// SPDX-License-Identifier: Apache-2.0
#include "api/queries.h"

#include <shader.h>

using namespace orca::api;

extern "C" {

DLLEXPORT miBoolean mi_query(miQ_type query, miState* state, miTag tag, void* result, ...) {
    if (!result) return miFALSE;
    const Query asked{query, state, tag, result};
    // What shaders ask in every sample comes first.
    Answer answer = answerAboutState(asked);
    if (answer == Answer::NotMine) answer = answerAboutInstance(asked);
    if (answer == Answer::NotMine) answer = answerAboutLight(asked);
    if (answer == Answer::NotMine) answer = answerAboutFunction(asked);
    if (answer == Answer::NotMine) answer = answerAboutUserdata(asked);
    if (answer == Answer::NotMine) answer = answerAboutRenderer(asked);
    return answer == Answer::Given;
}

} // extern "C"
