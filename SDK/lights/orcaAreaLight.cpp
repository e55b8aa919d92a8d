// SPDX-License-Identifier: Apache-2.0
#include "orcaAreaLight.h"

#include "orcaConstants.h"
#include "orcaVector.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

std::array<miVector, 4> corners(const AreaLightRecord& light) {
    return {light.center - light.edgeU - light.edgeV, light.center + light.edgeU - light.edgeV,
            light.center + light.edgeU + light.edgeV, light.center - light.edgeU + light.edgeV};
}

/// Solid angle of a spherical triangle of unit vectors (Van Oosterom and Strackee, "The Solid Angle of a
/// Plane Triangle", 1983); not negative.
float solidAngle(const miVector& a, const miVector& b, const miVector& c) {
    const float volume = std::abs(dot(a, cross(b, c)));
    return 2.0f * std::atan2(volume, 1.0f + dot(a, b) + dot(b, c) + dot(c, a));
}

bool same(const miVector& a, const miVector& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

} // namespace

miScalar meanCosineToAreaLight(const miVector& point, const miVector& axis, const AreaLightRecord& light) {
    std::array<miVector, 4> toCorner;
    const auto corner = corners(light);
    for (size_t i = 0; i < 4; ++i) toCorner[i] = normalized(corner[i] - point);

    const float angle =
        solidAngle(toCorner[0], toCorner[1], toCorner[2]) + solidAngle(toCorner[0], toCorner[2], toCorner[3]);
    const miVector toCenter = normalized(light.center - point);
    // Too small or seen edge on: one direction represents the light.
    if (angle < VELA_EPS) return dot(axis, toCenter);

    miVector flux{0.0f, 0.0f, 0.0f};
    for (size_t i = 0; i < 4; ++i) {
        const miVector& a = toCorner[i];
        const miVector& b = toCorner[(i + 1) % 4];
        flux = flux + normalized(cross(a, b)) * std::acos(std::clamp(dot(a, b), -1.0f, 1.0f));
    }
    // The winding seen from the point decides the sign; the light shines to both sides.
    if (dot(flux, toCenter) < 0.0f) flux = -flux;
    return 0.5f * dot(axis, flux) / angle;
}

float arealight_lambertian_reflect(miState* state, const miVector* direction, const AreaLightRecord* light) {
    const miVector& axis = same(*direction, state->dir) ? state->dir : state->normal;
    return meanCosineToAreaLight(state->point, axis, *light);
}

void arealight_max_phong_spec_dir(miVector* result, miState* state, const miVector* mirror,
                                  const AreaLightRecord* light) {
    const miVector normal = cross(light->edgeU, light->edgeV);
    const miVector toCenter = light->center - state->point;
    const float slope = dot(*mirror, normal);
    const float t = std::abs(slope) < VELA_EPS ? 0.0f : dot(toCenter, normal) / slope;
    // Mirror rays that miss the light's plane take the point of theirs that is nearest to the light's centre.
    const float along = t > 0.0f ? t : std::max(0.0f, dot(toCenter, *mirror));
    const miVector onPlane = *mirror * along - toCenter;
    const auto clampedAlong = [&](const miVector& edge) {
        const float squared = dot(edge, edge);
        return squared == 0.0f ? 0.0f : std::clamp(dot(onPlane, edge) / squared, -1.0f, 1.0f);
    };
    const float u = clampedAlong(light->edgeU);
    const float v = clampedAlong(light->edgeV);
    *result = normalized(toCenter + light->edgeU * u + light->edgeV * v);
}
