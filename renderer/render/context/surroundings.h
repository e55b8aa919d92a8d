// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Calls the environment shader for the state's direction: the state's own, else the camera's. False without
/// one.
miBoolean callEnvironment(RenderContext& context, miState* state, miColor& result);

/// Calls the volume shader of the space that the state's ray crossed; it changes `result`. Nothing to do
/// without one, and where the options switch volumes off.
void callVolume(RenderContext& context, miState* state, miColor& result, miBoolean& delivered);

} // namespace orca::render
