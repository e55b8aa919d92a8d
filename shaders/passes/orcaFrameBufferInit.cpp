// SPDX-License-Identifier: Apache-2.0
#include "orcaFrameBufferLookup.h"

#include "orcaParameters.h"

#include <shader.h>

namespace {

/// Parameters of orcaFrameBufferInit, in declaration order.
struct FrameBufferInitParameters {
    miInteger passIndex; // which of the data block's non-material frame buffers
    miColor value;       // written unconverted; the buffer's type decides how many components are read
};

miBoolean fill(miState* state, FrameBufferInitParameters* record) {
    if (!inImagePhase(state)) return miTRUE;
    const unsigned index = getNonMaterialPassFrameBufferIndex(
        state, parameterValue(state, record, &FrameBufferInitParameters::passIndex));
    if (index == 0) return miTRUE;
    mi_fb_put(state, static_cast<int>(index), mi_eval(state, &record->value));
    return miTRUE;
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaFrameBufferInit_version(void) {
    return 1;
}

ORCA_EXPORT void orcaFrameBufferInit_init(miState* state, void* parameters, miBoolean* initRequired) {
    if (parameters) return;
    *initRequired = miFALSE;
    requireStateShader(state,
                       "orcaFrameBufferInit(): Not invoked as state shader.\nCould be a version mismatch. "
                       "Re-export the .mi");
}

ORCA_EXPORT miBoolean orcaFrameBufferInit(void*, miState* state, FrameBufferInitParameters* record,
                                          miShader_state_arg* argument) {
    switch (argument->op) {
    case miSHADERSTATE_STATE_INIT:
    case miSHADERSTATE_STATE_EXIT:
    case miSHADERSTATE_SAMPLE_EXIT: return miTRUE;
    case miSHADERSTATE_SAMPLE_INIT: return fill(state, record);
    default: mi_warning("orcaFrameBufferInit(): Invoked with invalid opcode."); return miFALSE;
    }
}

} // extern "C"

#include "declared/orcaFrameBufferInit.h"
