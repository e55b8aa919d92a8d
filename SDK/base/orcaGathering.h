// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// True while the renderer gathers indirect light: the state belongs to one of many rays whose mean is taken.
[[nodiscard]] inline bool isGathering(miState* state) {
    int gather = 0;
    return mi_query(miQ_FINALGATHER_STATE, state, miNULLTAG, &gather) && gather != 0;
}
