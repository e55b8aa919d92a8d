// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Look-up of a render state's pass records, and of the camera's data block that describes them.

#include "orcaExport.h"
#include "orcaFrameBufferRecords.h"

extern "C" {

/// The pass records of a state. Number of records, 0 (and null outputs, or outputs of no use) when the state
/// has none: outside image samples, without a frame-buffer state shader, or when the stored sizes do not fit
/// each other. Writers write passes only when it is not 0.
ORCA_EXPORT unsigned getFrameBufferInfo(miState* state, PassTypeInfo*& passTypeInfo,
                                        FrameBufferInfo*& frameBufferInfo);

/// The camera's data block, pinned unless null; all fields null or false when there is none.
ORCA_EXPORT FrameBufferDataBlock getFrameBufferDataBlock(miState* state);

/// Frame buffer of non-material pass `passIndex`; 0: none.
ORCA_EXPORT unsigned getNonMaterialPassFrameBufferIndex(miState* state, int passIndex);

} // extern "C"

/// True while image samples are rendered, the only time at which passes may be touched.
[[nodiscard]] bool inImagePhase(miState* state);

/// Reports `message` as an error unless the shader being initialised is called as a state shader.
void requireStateShader(miState* state, const char* message);
