// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// The plain grey matte of surfaces that the scene gives no material, lit by the scene's lights.
miBoolean shadeDefaultMaterial(RenderContext& context, miState* state, miColor& result);

} // namespace orca::render
