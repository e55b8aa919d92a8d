// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/ray.h"
#include "render/context/render_context.h"

namespace orca::render {

/// Casts a ray and shades what it hits: a visible light, a surface by its material, or else the environment;
/// then calls the volume shader of the space that the ray crossed. `child` holds the ray (org, dir, type,
/// levels, volume) and receives the hit. True when a shader delivered; `result` is black otherwise.
miBoolean traceAndShade(RenderContext& context, ChildState& child, const geometry::Ray& ray, miColor& result);

/// Calls the shader of the material that the state hit. False without one.
miBoolean callMaterial(miColor& result, miState* state);

/// Sets the child's state to the surface that the ray meets before any visible light, or to none, and calls
/// no shader.
void traceWithoutShading(RenderContext& context, ChildState& child, const geometry::Ray& ray);

} // namespace orca::render
