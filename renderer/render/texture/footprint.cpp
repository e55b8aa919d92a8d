// SPDX-License-Identifier: Apache-2.0
#include "render/texture/footprint.h"

#include "base/orthonormal_basis.h"
#include "base/vectors.h"
#include "render/context/render_context.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

/// Steepest look at a surface that counts: footprints are not longer than 64 times their width.
constexpr float mostGrazing = 1.0f / 64.0f;

/// Steps to the right and up at the hit's depth, laid along the ray onto the surface's plane. False for all
/// but straight rays from the camera; a light map's point is hit by a ray of no length.
bool exactSteps(const miState* state, SurfaceSteps& steps) {
    const RenderContext& context = renderContextOf(state);
    const miCamera& camera = context.frame.camera;
    if (state->type != miRAY_EYE || state->dist == 0.0 ||
        (camera.lens != miNULLTAG && !context.frame.options.no_lens))
        return false;
    const auto inCamera = [&](const miVector& v) {
        miVector result;
        mi_vector_transform(&result, &v, context.camera.fromWorld);
        return result;
    };
    miVector point;
    mi_point_transform(&point, &state->point, context.camera.fromWorld);
    const miVector raster = context.frame.rasterFromCamera(point);
    const miVector ray = inCamera(state->dir), normal = inCamera(state->normal_geom);
    const float facing = dot(normal, ray);
    if (!(point.z < 0.0f) || !(std::abs(facing) > 1e-6f)) return false;
    const auto step = [&](float x, float y) {
        const miVector inDepth = context.frame.cameraFromRaster({raster.x + x, raster.y + y, raster.z}) -
                                 context.frame.cameraFromRaster({raster.x - x, raster.y - y, raster.z});
        const miVector onSurface = 0.5f * (inDepth - dot(normal, inDepth) / facing * ray);
        miVector result;
        mi_vector_transform(&result, &onSurface, context.camera.toWorld);
        return result;
    };
    steps = {step(1.0f, 0.0f), step(0.0f, 1.0f)};
    return true;
}

/// The axes of the ellipse that the pixel's cone cuts out of the surface's plane: along the ray's shadow on
/// the surface, and across.
SurfaceSteps coneSteps(const miState* state) {
    const float width = pixelWidth(state);
    const float facing = std::max(std::abs(mi_vector_dot(&state->normal_geom, &state->dir)), mostGrazing);
    miVector along = state->dir, across;
    mi_vector_prod(&across, &state->normal_geom, &state->dir);
    if (mi_vector_dot(&across, &across) < 1e-10f) {
        const miVector& u = state->derivs[0];
        along = isNull(u) ? basisAbout(state->normal_geom).x : u;
        mi_vector_prod(&across, &state->normal_geom, &along);
    } else {
        mi_vector_prod(&along, &across, &state->normal_geom);
    }
    mi_vector_normalize(&along);
    mi_vector_normalize(&across);
    mi_vector_mul(&along, width / facing);
    mi_vector_mul(&across, width);
    return {along, across};
}

} // namespace

float pixelWidth(const miState* state) {
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

SurfaceSteps surfaceSteps(const miState* state) {
    SurfaceSteps steps;
    return exactSteps(state, steps) ? steps : coneSteps(state);
}

image::Footprint footprintOf(const miState* state, const SurfaceSteps& steps) {
    const miVector &u = state->derivs[0], &v = state->derivs[1];
    // Duals of the derivatives: what a step along the surface adds to u and to v.
    const float uu = mi_vector_dot(&u, &u), uv = mi_vector_dot(&u, &v), vv = mi_vector_dot(&v, &v);
    const float determinant = uu * vv - uv * uv;
    if (!(determinant > 1e-12f * uu * vv)) return {};
    const auto inTexture = [&](const miVector& step, float& ds, float& dt) {
        const float alongU = mi_vector_dot(&step, &u), alongV = mi_vector_dot(&step, &v);
        ds = (alongU * vv - alongV * uv) / determinant;
        dt = (alongV * uu - alongU * uv) / determinant;
    };
    image::Footprint footprint;
    inTexture(steps.x, footprint.dsdx, footprint.dtdx);
    inTexture(steps.y, footprint.dsdy, footprint.dtdy);
    return footprint;
}

image::Footprint footprintOf(const miState* state) {
    if (!state->camera || state->instance == miNULLTAG || isNull(state->derivs[0])) return {};
    return footprintOf(state, coneSteps(state));
}

} // namespace orca::render
