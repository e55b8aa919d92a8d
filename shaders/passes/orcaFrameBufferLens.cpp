// SPDX-License-Identifier: Apache-2.0
#include "orcaFrameBufferLookup.h"
#include "orcaLevelSlots.h"
#include "orcaVelaState.h"

#include <shader.h>

namespace {

/// Where the eye ray meets nothing the picture shows the background, and so do the passes of the picture.
void writeBackground(miState* state, const miColor& background) {
    PassTypeInfo* types = nullptr;
    FrameBufferInfo* records = nullptr;
    if (getFrameBufferInfo(state, types, records) == 0) return;
    for (const PassTypeID type : PICTURE_PASSES)
        for (FrameBufferInfo& record : recordsOf(type, *types, records))
            record.levelSlots[0].childResult = background;
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaFrameBufferLens_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaFrameBufferLens(miColor* result, miState* state, void*) {
    const miBoolean delivered = mi_trace_eye(result, state, &state->org, &state->dir);
    if (!delivered || state->instance != miNULLTAG) return delivered;
    writeBackground(state, *result);
    if (VelabaseState* const vela = velabaseState(state)) noteBackground(state, state, *vela, *result);
    return delivered;
}

} // extern "C"

#include "declared/orcaFrameBufferLens.h"
