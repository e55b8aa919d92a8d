// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

// Rays that shaders cast (see the interface's trace functions for their promises).

miBoolean traceReflection(miColor& result, miState* state, const miVector& direction);
miBoolean traceRefraction(miColor& result, miState* state, const miVector& direction);
miBoolean traceTransparent(miColor& result, miState* state);
miBoolean traceContinue(miColor& result, miState* state);
miBoolean traceEnvironment(miColor& result, miState* state, const miVector& direction);
miBoolean traceProbe(miState* state, const miVector& direction, const miVector& origin);

} // namespace orca::render
