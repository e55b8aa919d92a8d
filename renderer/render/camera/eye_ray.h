// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Sets the base state's origin and direction to the eye ray of its raster position and time, in internal
/// space, and the context's camera to its placement at that time.
void setEyeRay(RenderContext& context);

/// Calls the camera's first lens shader on the base state; without one casts the base state's ray.
miBoolean traceThroughLenses(RenderContext& context, miColor& result);

/// A lens shader casts an eye ray: through the lens shaders after it, then into the scene, within the
/// camera's clipping range. The state gets the hit.
miBoolean traceEye(miColor& result, miState* state, const miVector& origin, const miVector& direction);

} // namespace orca::render
