// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/ray.h"
#include "render/context/render_context.h"

namespace orca::render {

/// Fills the intersection part of a state from a hit. `child.state.org` and `dir` are the ray's.
enum class NormalSide { TowardRay, AsModelled };
void setHit(const RenderContext& context, DerivedState& child, const geometry::Ray& ray,
            const geometry::Hit& hit, NormalSide side);

/// Clears it: nothing was hit.
void setMiss(miState& state);

/// A ray from `origin` along `state.dir` that does not meet the surface the state stands on.
[[nodiscard]] geometry::Ray rayFrom(const RenderContext& context, const miState& state,
                                    const miVector& origin, const miVector& direction,
                                    geometry::RayClass rayClass);

/// Shutter time of a state as the tracing kernel takes it.
[[nodiscard]] float kernelTime(const RenderContext& context, const miState& state);

} // namespace orca::render
