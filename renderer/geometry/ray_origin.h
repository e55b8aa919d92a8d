// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/ray.h"

#include <shader.h>

namespace orca::geometry {

/// Origin for a ray that leaves a surface at `point`: moved off the surface to the side of `direction` by a
/// few units in the last place of its coordinates (Waechter and Binder, "A Fast and Robust Method for
/// Avoiding Self-Intersection", 2019, in spirit). `geometricNormal` is unit, either side.
[[nodiscard]] miVector offsetRayOrigin(const miVector& point, const miVector& geometricNormal,
                                       const miVector& direction);

/// Makes `ray` start again beyond `hit`: past every triangle that has the hit point on its edge, so that a
/// surface crossed where two of its triangles meet counts once.
void advancePastHit(Ray& ray, const Hit& hit);

/// Where a ray from `origin` with a hit at `distance` starts again: advancePastHit() as a distance.
[[nodiscard]] float distancePastHit(const miVector& origin, float distance);

} // namespace orca::geometry
