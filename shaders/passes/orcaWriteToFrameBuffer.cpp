// SPDX-License-Identifier: Apache-2.0
#include "orcaWriteToFrameBufferShader.h"

#include "orcaColor.h"

#include <cstring>

/// What the records of the four shaders begin with.
struct WriteToBufferParameters {
    miInteger bufferIndex; // which of the custom passes' records
    miInteger operation;   // 0 none, 1 add, 2 multiply, 3 replace, else add
    miBoolean enable;      // off: nothing is done, and the result is not set
    miScalar scale;        // of the value
    miColor passThrough;   // the shader's result
};

struct WriteToColorBufferParameters : WriteToBufferParameters {
    miColor value; // red, green and blue
    miScalar alpha;
};

struct WriteToVectorBufferParameters : WriteToBufferParameters {
    miVector value;
};

struct WriteToDepthBufferParameters : WriteToBufferParameters {
    miScalar value;
};

struct WriteToLabelBufferParameters : WriteToBufferParameters {
    miInteger value; // not used
};

namespace {

struct ColorBufferHelper {
    static miColor read(miState* state, WriteToColorBufferParameters* record) {
        const miColor color = parameterValue(state, record, &WriteToColorBufferParameters::value);
        return withAlpha(color, parameterValue(state, record, &WriteToColorBufferParameters::alpha));
    }
    static void write(TraceLevelSlot& slot, const miColor& value, miScalar scale, miInteger operation) {
        combine(slot.levelResult, value * scale, operation);
    }
};

struct VectorBufferHelper {
    static miVector read(miState* state, WriteToVectorBufferParameters* record) {
        return parameterValue(state, record, &WriteToVectorBufferParameters::value);
    }
    static void write(TraceLevelSlot& slot, const miVector& value, miScalar scale, miInteger operation) {
        combine(slot.levelResult.r, value.x * scale, operation);
        combine(slot.levelResult.g, value.y * scale, operation);
        combine(slot.levelResult.b, value.z * scale, operation);
    }
};

struct DepthBufferHelper {
    static miScalar read(miState* state, WriteToDepthBufferParameters* record) {
        return parameterValue(state, record, &WriteToDepthBufferParameters::value);
    }
    static void write(TraceLevelSlot& slot, miScalar value, miScalar scale, miInteger operation) {
        combine(slot.levelResult.r, value * scale, operation);
    }
};

/// Intended: a label is only ever cleared, and the value is not read.
struct LabelBufferHelper {
    static int read(miState*, WriteToLabelBufferParameters*) { return 0; }
    static void write(TraceLevelSlot& slot, int cleared, miScalar, miInteger operation) {
        if (operation == WRITE_MULTIPLY || operation == WRITE_REPLACE)
            std::memcpy(&slot.levelResult.r, &cleared, sizeof cleared);
    }
};

template <class P, class Helper>
using Writer = WriteToFrameBufferShader<P, WriteToFrameBufferReturnType, Helper>;
using ColorWriter = Writer<WriteToColorBufferParameters, ColorBufferHelper>;
using VectorWriter = Writer<WriteToVectorBufferParameters, VectorBufferHelper>;
using DepthWriter = Writer<WriteToDepthBufferParameters, DepthBufferHelper>;
using LabelWriter = Writer<WriteToLabelBufferParameters, LabelBufferHelper>;

} // namespace

ORCA_EXPORT_SHADER(orcaVelaWriteToColorBuffer, WriteToFrameBufferReturnType, ColorWriter,
                   WriteToColorBufferParameters, "orcaWriteToFrameBuffer", 1)
ORCA_EXPORT_SHADER(orcaVelaWriteToVectorBuffer, WriteToFrameBufferReturnType, VectorWriter,
                   WriteToVectorBufferParameters, "orcaWriteToFrameBuffer", 2)
ORCA_EXPORT_SHADER(orcaVelaWriteToDepthBuffer, WriteToFrameBufferReturnType, DepthWriter,
                   WriteToDepthBufferParameters, "orcaWriteToFrameBuffer", 3)
ORCA_EXPORT_SHADER(orcaVelaWriteToLabelBuffer, WriteToFrameBufferReturnType, LabelWriter,
                   WriteToLabelBufferParameters, "orcaWriteToFrameBuffer", 4)

#include "declared/orcaVelaWriteToColorBuffer.h"
#include "declared/orcaVelaWriteToDepthBuffer.h"
#include "declared/orcaVelaWriteToLabelBuffer.h"
#include "declared/orcaVelaWriteToVectorBuffer.h"
