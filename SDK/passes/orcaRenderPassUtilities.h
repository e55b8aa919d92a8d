// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaFrameBufferRecords.h"

extern "C" {

/// True when pass `passIndex` is in a mask: hexadecimal digits, the first for passes 0 to 3, lowest bit
/// first, either case. A null mask includes every pass. The string must be long enough for the pass.
ORCA_EXPORT bool contributesToPass(int passIndex, const char* mask);

/// Before a secondary ray from the state's level: clears what the level below accumulates. Does nothing at
/// the trace-depth limit.
ORCA_EXPORT void tracePassInit(unsigned count, FrameBufferInfo* records, miState* state);

/// After the ray: adds what the level below has accumulated, times `weight`, the tracer's weight of the ray,
/// alpha included.
ORCA_EXPORT void tracePassAdd(unsigned count, FrameBufferInfo* records, miState* state, bool isRefraction,
                              miColor weight);

} // extern "C"

/// The renderer's index of a frame buffer by name, or by the tag of its name; 0 when unknown.
ORCA_EXPORT unsigned getNamedFrameBufferID(const miState* state, const char* name);
ORCA_EXPORT unsigned getNamedFrameBufferID(const miState* state, unsigned nameTag);
