// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Closed forms for a light that is a parallelogram, used while such a light is being sampled.

#include "orcaExport.h"
#include "orcaVelaState.h"

/// Mean cosine between an axis and the directions from a point to a light, weighted by solid angle: Lambert's
/// formula for a uniform polygon (Lambert, "Photometria", 1760; see also Arvo, "Irradiance Tensors", 1995),
/// divided by the polygon's solid angle. Negative when most of the light is behind the axis.
[[nodiscard]] miScalar meanCosineToAreaLight(const miVector& point, const miVector& axis,
                                             const AreaLightRecord& light);

extern "C" {

/// Cosine factor of an area light at the state's point: the mean cosine with the ray direction when that is
/// the direction given, else (a direction to the light) with the shading normal.
ORCA_EXPORT float arealight_lambertian_reflect(miState* state, const miVector* direction,
                                               const AreaLightRecord* light);

/// Direction to the point of an area light nearest to the mirror direction, in which a highlight is strongest
/// (the representative point of Karis, "Real Shading in Unreal Engine 4", 2013). Unit length.
ORCA_EXPORT void arealight_max_phong_spec_dir(miVector* result, miState* state, const miVector* mirror,
                                              const AreaLightRecord* light);

} // extern "C"
