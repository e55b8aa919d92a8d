/* SPDX-License-Identifier: Apache-2.0 */
/* What a hit says of itself: its triangle, its pixel, its spaces, its shader. */
#include "shader.h"

#include "checks.h"

#include <string.h>

struct hit_parameters {
    miColor tint;
    miScalar weights[2];
};

static void weighted(miVector* sum, const miState* state, miVector* const corners[3]) {
    int i;
    miVector part;
    sum->x = sum->y = sum->z = 0;
    for (i = 0; i < 3; ++i) {
        part = *corners[i];
        mi_vector_mul(&part, state->bary[i]);
        mi_vector_add(sum, sum, &part);
    }
}

static void check_triangle(miState* state) {
    miVector *corner[3], sum, point;
    mi_point_to_object(state, &point, &state->point);
    CHECK(mi_tri_vectors(state, 'p', 0, &corner[0], &corner[1], &corner[2]));
    weighted(&sum, state, corner);
    CHECK(NEAR3(sum, point, 1e-4));
    CHECK(mi_tri_vectors(state, 't', 0, &corner[0], &corner[1], &corner[2]));
    weighted(&sum, state, corner);
    CHECK(NEAR3(sum, state->tex_list[0], 1e-4));
    CHECK(!mi_tri_vectors(state, 't', 1, &corner[0], &corner[1], &corner[2]));
    CHECK(mi_tri_vectors(state, 'n', 0, &corner[0], &corner[1], &corner[2]) && NEAR(corner[2]->y, 1, 1e-5));
    CHECK(!mi_tri_vectors(state, '?', 0, &corner[0], &corner[1], &corner[2]));
    CHECK(state->pri_idx < 2);
}

static void check_pixel(miState* state) {
    miVector dx, dy, here, there, moved;
    miMatrix m;
    const miScalar h = 0.01f;
    CHECK(mi_ray_differential(state, &dx, &dy));
    mi_point_to_raster(state, &here, &state->point);
    moved = dx;
    mi_vector_mul(&moved, h);
    mi_vector_add(&moved, &moved, &state->point);
    mi_point_to_raster(state, &there, &moved);
    CHECK(NEAR(there.x - here.x, h, 1e-3 * h + 1e-4) && NEAR(there.y, here.y, 1e-4));
    CHECK(NEAR(mi_vector_dot(&dy, &state->normal), 0, 1e-5));
    /* Texture coordinates change along the surface as its derivatives say. */
    CHECK(mi_ray_differential_transform(state, m) && m[12] == state->tex_list[0].x);
    moved = state->derivs[0];
    mi_vector_mul(&moved, m[4]);
    there = state->derivs[1];
    mi_vector_mul(&there, m[5]);
    mi_vector_add(&moved, &moved, &there);
    CHECK(NEAR3(moved, dy, 1e-4));
    CHECK(NEAR(mi_raster_unit(state),
               state->dist * state->camera->aperture / state->camera->focal / state->camera->x_resolution,
               1e-4));
}

static void check_spaces(miState* state) {
    static const miQ_type forth[] = {miQ_TRANS_WORLD_TO_OBJECT, miQ_TRANS_CAMERA_TO_OBJECT,
                                     miQ_TRANS_WORLD_TO_CAMERA, miQ_TRANS_INTERNAL_TO_OBJECT};
    static const miQ_type back[] = {miQ_TRANS_OBJECT_TO_WORLD, miQ_TRANS_OBJECT_TO_CAMERA,
                                    miQ_TRANS_CAMERA_TO_WORLD, miQ_TRANS_OBJECT_TO_INTERNAL};
    miMatrix a, b;
    miVector in_camera, in_object, by_query;
    int i, j;
    for (i = 0; i < 4; ++i) {
        CHECK(mi_query(forth[i], state, miNULLTAG, a) && mi_query(back[i], state, miNULLTAG, b));
        mi_matrix_prod(a, a, b);
        for (j = 0; j < 16; ++j) CHECK(NEAR(a[j], j % 5 == 0, 1e-5));
    }
    mi_point_to_camera(state, &in_camera, &state->point);
    mi_point_to_object(state, &in_object, &state->point);
    CHECK(mi_query(miQ_TRANS_CAMERA_TO_OBJECT, state, miNULLTAG, a));
    mi_point_transform(&by_query, &in_camera, a);
    CHECK(NEAR3(by_query, in_object, 1e-4));
}

static void check_shader(miState* state, struct hit_parameters* parameters) {
    const char* declared = NULL;
    const miUint* ghost = (const miUint*)mi_get_ghost(state);
    int value = -1;
    miTag declaration = 0;
    CHECK(mi_query(miQ_FUNC_DECL, state, miNULLTAG, &declaration));
    CHECK(mi_query(miQ_DECL_PARAM, NULL, declaration, &declared));
    CHECK(strcmp(declared, "color \"tint\", struct \"weights\" { scalar \"first\", scalar \"second\" }") ==
          0);
    CHECK((struct hit_parameters*)state->shader->parameters == parameters);
    CHECK(mi_has_connections(state) && ghost && ghost[0] != 0 && ghost[4] == 0);
    CHECK(mi_query(miQ_GEO_TYPE, state, miNULLTAG, &value) && value == miOBJECT_POLYGONS);
    CHECK(mi_query(miQ_RENDER_STAGE, state, miNULLTAG, &value) && value == miSTAGE_RENDER);
}

/* Above the floor, at height 3, is a ceiling of one colour, and beyond it an environment of another. */
static void check_rays(miState* state) {
    miColor ceiling, beyond, seen;
    miVector up = {0, 1, 0};
    double offset = 3.5, start = 2, stop = 4;
    CHECK(mi_trace_reflection(&ceiling, state, &up) && mi_trace_environment(&beyond, state, &up));
    CHECK(!NEAR(ceiling.r, beyond.r, 0.1));
    mi_ray_offset(state, &offset);
    CHECK(offset == 0 && mi_trace_reflection(&seen, state, &up) && NEAR(seen.r, beyond.r, 1e-6));
    mi_ray_offset(state, &offset);
    CHECK(offset == 3.5);
    mi_ray_falloff(state, &start, &stop);
    CHECK(mi_trace_reflection(&seen, state, &up) && NEAR(seen.r, 0.5 * (ceiling.r + beyond.r), 1e-5));
    mi_ray_falloff(state, &start, &stop);
    CHECK(start == 2 && stop == 4 && mi_trace_reflection(&seen, state, &up) && NEAR(seen.r, ceiling.r, 1e-6));
}

DLLEXPORT int corpus_hit_version(void) {
    return 1;
}

DLLEXPORT miBoolean corpus_hit(miColor* result, miState* state, struct hit_parameters* parameters) {
    *result = *mi_eval_color(&parameters->tint);
    check_triangle(state);
    check_pixel(state);
    check_spaces(state);
    check_shader(state, parameters);
    check_rays(state);
    return miTRUE;
}

DLLEXPORT int corpus_color_version(void) {
    return 1;
}

DLLEXPORT miBoolean corpus_color(miColor* result, miState* state, miColor* color) {
    *result = *mi_eval_color(color);
    return miTRUE;
}
