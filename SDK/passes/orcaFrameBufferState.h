// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The state shader that makes the pass records, and the look-up of what it made.

#include "orcaExport.h"
#include "orcaFrameBufferLookup.h"

#include <shader.h>

extern "C" {

ORCA_EXPORT int orcaFrameBufferState_version(void);

/// Reports an error unless the shader is called as a state shader; needs no initialisation per instance.
ORCA_EXPORT void orcaFrameBufferState_init(miState* state, void* parameters, miBoolean* initRequired);

/// Makes the records with the render state, resolves their frame buffers with its first sample, and writes
/// their values when a sample of an eye ray ends. Follows the base state shader in the options' list.
/// False when there are no records to be made, when their description is damaged (reported), and for an
/// operation that does not exist (reported).
ORCA_EXPORT miBoolean orcaFrameBufferState(void* result, miState* state, void* parameters,
                                           miShader_state_arg* argument);

} // extern "C"
