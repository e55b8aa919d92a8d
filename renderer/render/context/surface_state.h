// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/ray.h"
#include "render/context/render_context.h"

namespace orca::render {

enum class NormalSide { TowardRay, AsModelled };
/// Fills the intersection part of a state from a hit. `child.state.org` and `dir` are the ray's.
void setHit(const RenderContext& context, DerivedState& child, const geometry::Ray& ray,
            const geometry::Hit& hit, NormalSide side);

/// Clears the intersection part of a state: nothing was hit.
void setMiss(miState& state);

/// A ray from `origin`, the state's point or close to it, that does not hit the state's own surface again:
/// its origin is offset and the triangle is skipped.
[[nodiscard]] geometry::Ray rayFrom(const RenderContext& context, const miState& state,
                                    const miVector& origin, const miVector& direction,
                                    geometry::RayClass rayClass);

/// Shutter time of a state for the ray-tracing kernel, 0 to 1.
[[nodiscard]] float kernelTime(const RenderContext& context, const miState& state);

} // namespace orca::render
