// SPDX-License-Identifier: Apache-2.0
#include "geometry/triangle_vectors.h"

#include "base/vectors.h"
#include "render/context/render_context.h"
#include "render/texture/footprint.h"

#include <shader.h>

using namespace orca::render;

extern "C" {

DLLEXPORT miBoolean mi_tri_vectors(miState* state, int which, int ntex, miVector** a, miVector** b,
                                   miVector** c) {
    RenderContext& context = renderContextOf(state);
    if (state->hit_instance == orca::geometry::nothing) return miFALSE;
    const auto kind = static_cast<orca::geometry::CornerVector>(which);
    if (!orca::geometry::triangleVectors(context.frame.meshInstances[state->hit_instance],
                                         state->hit_triangle, kind, ntex, context.corners))
        return miFALSE;
    *a = &context.corners[0];
    *b = &context.corners[1];
    *c = &context.corners[2];
    return miTRUE;
}

DLLEXPORT miScalar mi_raster_unit(miState* state) {
    return pixelWidth(state);
}

DLLEXPORT miBoolean mi_ray_differential(miState* state, miVector* dx, miVector* dy) {
    if (state->instance == miNULLTAG) return miFALSE;
    const SurfaceSteps steps = surfaceSteps(state);
    *dx = steps.x;
    *dy = steps.y;
    return miTRUE;
}

DLLEXPORT miBoolean mi_ray_differential_transform(miState* state, miMatrix screen_to_texture) {
    if (state->instance == miNULLTAG || orca::isNull(state->derivs[0]) || orca::isNull(state->derivs[1]))
        return miFALSE;
    const orca::image::Footprint footprint = footprintOf(state, surfaceSteps(state));
    const miVector& at = state->tex_list[0];
    mi_matrix_ident(screen_to_texture);
    screen_to_texture[0] = footprint.dsdx;
    screen_to_texture[1] = footprint.dtdx;
    screen_to_texture[4] = footprint.dsdy;
    screen_to_texture[5] = footprint.dtdy;
    screen_to_texture[12] = at.x;
    screen_to_texture[13] = at.y;
    screen_to_texture[14] = at.z;
    return miTRUE;
}

} // extern "C"
