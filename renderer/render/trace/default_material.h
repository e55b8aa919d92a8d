// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Shades a surface without a material: Lambert, reflectance 0.5, lit by the lights of its instance.
miBoolean shadeDefaultMaterial(RenderContext& context, miState* state, miColor& result);

} // namespace orca::render
