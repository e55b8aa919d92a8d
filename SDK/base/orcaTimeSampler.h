// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Steps a state's time through the shutter, for shaders that sample motion blur themselves where the
/// renderer does not:
///     for (tmsampler_init(&t, state, true); !tmsampler_isDone(&t); tmsampler_next(&t, state)) ...
struct tmsampler {
    miInteger index;
    miInteger count;
    miScalar step; ///< frames
};

extern "C" {

/// One sample and no steps unless `enabled` and the renderer does not sample time itself: outside gathers,
/// with an open shutter, where nothing moves. Then 1 / (least time contrast) samples, 100 at most.
ORCA_EXPORT void tmsampler_init(tmsampler* sampler, miState* state, bool enabled);
/// Advances the state's time by a step; past the shutter's end it wraps to the start.
ORCA_EXPORT void tmsampler_next(tmsampler* sampler, miState* state);
/// True when all samples have been taken.
ORCA_EXPORT bool tmsampler_isDone(const tmsampler* sampler);

} // extern "C"
