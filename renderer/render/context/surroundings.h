// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Environment seen along the state's direction: its own, else the camera's. False without one.
miBoolean callEnvironment(RenderContext& context, miState* state, miColor& result);

/// Volume of the space that the state's ray came through acts on `result`.
void callVolume(RenderContext& context, miState* state, miColor& result, miBoolean& delivered);

} // namespace orca::render
