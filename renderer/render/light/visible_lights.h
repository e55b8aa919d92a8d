// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/ray.h"
#include "render/context/render_context.h"

namespace orca::render {

/// Where a ray meets the shape of a light that can be seen.
struct LightHit {
    const LightInstance* light;
    float distance;  ///< along the ray
    miVector normal; ///< of the shape, unit, internal space, as modelled
};

/// The nearest visible area light on a ray before `limit`. Rays that the camera, mirrors, glass and
/// transparency send see lights; gathering ones do not, because lights are sampled by themselves.
[[nodiscard]] bool findVisibleLight(const Frame& frame, const geometry::Ray& ray, float limit, LightHit& hit);

/// Calls the light's shader with the ray's own type for what the ray sees of it.
miBoolean shadeVisibleLight(RenderContext& context, DerivedState& child, const LightHit& hit,
                            miColor& result);

} // namespace orca::render
