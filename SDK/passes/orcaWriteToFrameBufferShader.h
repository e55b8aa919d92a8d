// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Shaders that pass a value through a shader network and combine another value into a custom frame buffer.

#include "orcaFrameBufferRecords.h"
#include "orcaParameters.h"
#include "orcaPassRecords.h"
#include "orcaShader.h"
#include "orcaWriteMode.h"

#include <shader.h>

struct WriteToFrameBufferReturnType {
    miColor value; ///< what was passed through
};
static_assert(sizeof(WriteToFrameBufferReturnType) == 16);

/// @tparam P      parameter record; begins with bufferIndex, operation, enable, scale and passThrough
/// @tparam Result what the shader answers
/// @tparam Helper `Value read(state, record)` and `write(TraceLevelSlot&, Value, scale, operation)`
template <class P, class Result, class Helper, int = 1>
class WriteToFrameBufferShader : public Shader<P, Helper, 1> {
public:
    WriteToFrameBufferShader(miState*, P*) {}

    /// Always true. Each parameter is evaluated when it is first needed; a disabled write evaluates only
    /// `enable`.
    static miBoolean shade(Result* result, miState* state, P* record) {
        if (!parameterValue(state, record, &P::enable)) return miTRUE;
        result->value = parameterValue(state, record, &P::passThrough);
        const PassRecords passes(state);
        if (!passes) return miTRUE;
        const miInteger index = parameterValue(state, record, &P::bufferIndex);
        const PassTypeRun& run = (*passes.types)[PASS_CUSTOM];
        if (index < 0 || index >= run.count) return miTRUE;

        const miScalar scale = parameterValue(state, record, &P::scale);
        const miInteger operation = parameterValue(state, record, &P::operation);
        const auto value = Helper::read(state, record);
        if (operation == WRITE_NONE) return miTRUE;
        TraceLevelSlot& slot = passes.records[run.first + index].levelSlots[traceLevel(state)];
        if ((slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED) || state->type == miRAY_ENVIRONMENT)
            return miTRUE;
        Helper::write(slot, value, scale, operation);
        return miTRUE;
    }
};
