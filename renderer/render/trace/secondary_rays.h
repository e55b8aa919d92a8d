// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

// Rays that shaders cast. Each takes its origin from the state's point, except the probe, and derives a child
// state that stays readable through `state->child`. False, with `result` unchanged or black, when the ray is
// not cast (depth limits, flags of the mesh instance) or no shader delivered.

miBoolean traceReflection(miColor& result, miState* state, const miVector& direction);
miBoolean traceRefraction(miColor& result, miState* state, const miVector& direction);
miBoolean traceTransparent(miColor& result, miState* state);
miBoolean traceContinue(miColor& result, miState* state);
miBoolean traceEnvironment(miColor& result, miState* state, const miVector& direction);
miBoolean traceProbe(miState* state, const miVector& direction, const miVector& origin);

} // namespace orca::render
