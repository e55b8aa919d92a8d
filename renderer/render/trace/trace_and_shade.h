// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/ray.h"
#include "render/context/render_context.h"

namespace orca::render {

/// Casts a visible ray and shades what it meets: a light that can be seen, the hit's material, or the
/// environment, and then the volume of the space the ray came through. `child` holds the ray (org, dir, type,
/// levels, volume) and receives the hit. True when a shader delivered; `result` is black otherwise.
miBoolean traceAndShade(RenderContext& context, ChildState& child, const geometry::Ray& ray, miColor& result);

} // namespace orca::render
