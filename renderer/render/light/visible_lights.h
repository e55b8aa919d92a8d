// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/ray.h"
#include "render/context/render_context.h"
#include "render/light/light_shapes.h"

namespace orca::render {

/// Intersection of a ray with the shape of a visible area light.
struct LightHit {
    const LightInstance* light;
    float distance;  ///< along the ray
    Place place;     ///< on the shape: the first texture coordinate, as of a sample of the light
    miVector normal; ///< of the shape, unit, internal space, as modelled
};

/// The nearest visible area light on a ray before distance `limit`. Eye, reflection, refraction and
/// transparency rays hit lights; gather rays and shadow rays do not, because lights are sampled directly.
[[nodiscard]] bool findVisibleLight(const Frame& frame, const geometry::Ray& ray, float limit, LightHit& hit);

/// Calls the light's shader on the ray's state, with the ray's own type. While it runs `dist` is not the
/// length of the ray but the distance at which a light that decays with its square shows the lamp's radiance,
/// so that a lamp looks as bright from far as from near.
miBoolean shadeVisibleLight(RenderContext& context, DerivedState& child, const LightHit& hit,
                            miColor& result);

} // namespace orca::render
