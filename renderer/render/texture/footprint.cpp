// SPDX-License-Identifier: Apache-2.0
#include "render/texture/footprint.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

/// Width of a pixel's cone at the hit, scene units.
float coneWidth(const miState* state) {
    const miCamera& camera = *state->camera;
    const float pixel = camera.aperture / static_cast<float>(std::max(camera.x_resolution, 1));
    if (camera.orthographic) return pixel;
    double path = 0.0;
    for (const miState* each = state; each; each = each->parent) {
        const bool ray = each->type == miRAY_EYE || miRAY_SECONDARY(each->type);
        if (ray && (each == state || each->instance != miNULLTAG)) path += each->dist;
        if (each->type == miRAY_EYE) break;
    }
    return static_cast<float>(path) * pixel / std::max(camera.focal, 1e-6f);
}

} // namespace

image::Footprint footprintOf(const miState* state) {
    if (!state->camera || state->instance == miNULLTAG || !state->derivs[0] || !state->derivs[1]) return {};
    const miVector &u = *state->derivs[0], &v = *state->derivs[1];
    // Duals of the derivatives: what a step along the surface adds to u and to v.
    const float uu = mi_vector_dot(&u, &u), uv = mi_vector_dot(&u, &v), vv = mi_vector_dot(&v, &v);
    const float determinant = uu * vv - uv * uv;
    if (!(determinant > 1e-12f * uu * vv)) return {};
    const auto inTexture = [&](const miVector& step, float& ds, float& dt) {
        const float alongU = mi_vector_dot(&step, &u), alongV = mi_vector_dot(&step, &v);
        ds = (alongU * vv - alongV * uv) / determinant;
        dt = (alongV * uu - alongU * uv) / determinant;
    };
    const float width = coneWidth(state);
    constexpr float mostGrazing = 1.0f / 64.0f; // footprints are not longer than 64 times their width
    const float facing = std::max(std::abs(mi_vector_dot(&state->normal_geom, &state->dir)), mostGrazing);
    // The ellipse's long axis lies along the ray's shadow on the surface, the short one across.
    miVector along = state->dir, across;
    mi_vector_prod(&across, &state->normal_geom, &state->dir);
    if (mi_vector_dot(&across, &across) < 1e-10f) {
        along = u;
        mi_vector_prod(&across, &state->normal_geom, &u);
    } else {
        mi_vector_prod(&along, &across, &state->normal_geom);
    }
    mi_vector_normalize(&along);
    mi_vector_normalize(&across);
    mi_vector_mul(&along, width / facing);
    mi_vector_mul(&across, width);
    image::Footprint footprint;
    inTexture(along, footprint.dsdx, footprint.dtdx);
    inTexture(across, footprint.dsdy, footprint.dtdy);
    return footprint;
}

} // namespace orca::render
