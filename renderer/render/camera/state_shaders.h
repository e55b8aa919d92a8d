// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Calls every state shader of the options on the base state, whatever each returns.
/// @param operation one of miSHADERSTATE_*
/// @param delivered what the sample has returned so far; the shaders may change it
void callStateShaders(RenderContext& context, int operation, miColor& result, miBoolean& delivered);

/// Runs the state shaders that open or close a thread's base state. Exceptions of shaders are counted and go
/// no further.
void openBaseState(RenderContext& context);
void closeBaseState(RenderContext& context);

} // namespace orca::render
