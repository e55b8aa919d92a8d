// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Closed forms for a light that is a parallelogram or an ellipse, used while such a light is being sampled.
/// They hold for both sides of the light. An ellipse is computed as a polygon of its area, with corners so
/// close that its irradiance is exact within 0.3 %, except nearer to its rim than a fortieth of its radius.

#include "orcaExport.h"
#include "orcaVelaState.h"

/// Solid angle under which a point sees the light, steradians.
[[nodiscard]] miScalar solidAngleOfAreaLight(const miVector& point, const AreaLightRecord& light);

/// Mean cosine between an axis and the directions from a point to a light, weighted by solid angle: Lambert's
/// formula for a uniform polygon (Lambert, "Photometria", 1760; see also Arvo, "Irradiance Tensors", 1995),
/// divided by the polygon's solid angle. Negative when most of the light is behind the axis.
[[nodiscard]] miScalar meanCosineToAreaLight(const miVector& point, const miVector& axis,
                                             const AreaLightRecord& light);

/// The same for a surface of which `normal` is the normal, which receives nothing from behind its horizon:
/// the mean of the cosines that are above 0 and of 0 for the others, so that a light's radiance times its
/// solid angle times this is the irradiance (the polygon is clipped as by Baum et al., "Improving Radiosity
/// Solutions Through the Use of Analytically Determined Form-Factors", 1989). When all of the light is below
/// the horizon: the cosine of the part nearest to it, which is not above 0.
[[nodiscard]] miScalar receivedCosineOfAreaLight(const miVector& point, const miVector& normal,
                                                 const AreaLightRecord& light);

extern "C" {

/// Cosine factor of an area light at the state's point: the mean cosine with the ray direction when that is
/// the direction given, else (a direction to the light) what a surface of the shading normal receives.
ORCA_EXPORT float arealight_lambertian_reflect(miState* state, const miVector* direction,
                                               const AreaLightRecord* light);

/// Direction to the point of an area light nearest to the mirror direction, in which a highlight is strongest
/// (the representative point of Karis, "Real Shading in Unreal Engine 4", 2013). Unit length.
ORCA_EXPORT void arealight_max_phong_spec_dir(miVector* result, miState* state, const miVector* mirror,
                                              const AreaLightRecord* light);

} // extern "C"
