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

/// One sample and no steps unless `enabled` and the renderer leaves time to the shader: outside gathers, with
/// an open shutter, where nothing moves. Then 1 / (least time contrast) samples, 100 at most.
ORCA_EXPORT void tmsampler_init(tmsampler* sampler, miState* state, bool enabled);
/// Moves the state's time on; beyond the shutter's end it goes on from the start.
ORCA_EXPORT void tmsampler_next(tmsampler* sampler, miState* state);
ORCA_EXPORT bool tmsampler_isDone(const tmsampler* sampler);

} // extern "C"
