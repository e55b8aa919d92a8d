// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/render_context.h"

namespace orca::render {

/// Sets the base state's origin and direction to the eye ray of its raster position and time, in internal
/// space, and the context's camera to where it is then.
void setEyeRay(RenderContext& context);

/// Casts the child's ray (org, dir) as the eye ray, within the camera's clipping range.
miBoolean castEyeRay(RenderContext& context, ChildState& child, miColor& result);

} // namespace orca::render
