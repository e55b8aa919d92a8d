/* SPDX-License-Identifier: Apache-2.0 */
/* Noise, splines, rotations, and the small functions of the interface. */
#include "mi_shader_if.h"
#include "mi_version.h"

#include "checks.h"

#include <string.h>

static void check_noise(void) {
    const double h = 1e-2, tolerance = 2e-2;
    miScalar low = 1, high = -1, g, gx, gy;
    miVector p, q, gradient;
    int i;
    for (i = 0; i < 2000; ++i) {
        p.x = (miScalar)(i * 0.137 - 91);
        p.y = (miScalar)(i * 0.711 - 20);
        p.z = (miScalar)(i * 0.293);
        const miScalar n = mi_noise_3d_grad(&p, &gradient);
        low = n < low ? n : low;
        high = n > high ? n : high;
        CHECK(n == mi_noise_3d(&p) && NEAR(mi_unoise_3d(&p), 0.5 + 0.5 * n, 1e-6));
        q = p;
        q.y += (miScalar)h;
        const double ahead = mi_noise_3d(&q);
        q.y = p.y - (miScalar)h;
        CHECK(NEAR((ahead - mi_noise_3d(&q)) / (2 * h), gradient.y, tolerance));
        mi_unoise_2d_grad(p.x, p.y, &gx, &gy);
        CHECK(NEAR((mi_unoise_2d(p.x + (miScalar)h, p.y) - mi_unoise_2d(p.x - (miScalar)h, p.y)) / (2 * h),
                   gx, tolerance));
        mi_noise_1d_grad(p.z, &g);
        CHECK(
            NEAR((mi_noise_1d(p.z + (miScalar)h) - mi_noise_1d(p.z - (miScalar)h)) / (2 * h), g, tolerance));
    }
    CHECK(low < -0.5 && low >= -1 && high > 0.5 && high <= 1);
    CHECK(mi_noise_2d(5, -7) == 0 && mi_noise_2d(5.5f, -7) != 0);
}

static void check_curves_and_rotations(void) {
    miScalar values[4] = {1, 4, 2, 8}, line[3] = {1, 3, 5};
    miMatrix m, n;
    const miVector x = {1, 0, 0}, y = {0, 1, 0}, axis = {0, 0, 5};
    miVector r, expected;
    CHECK(NEAR(mi_spline(1 / 3.0f, 4, values), 4, 1e-5) && mi_spline(1, 4, values) == 8);
    CHECK(mi_spline(-1, 4, values) == 1 && mi_spline(0.5f, 0, values) == 0);
    CHECK(NEAR(mi_spline(0.3f, 3, line), 2.2, 1e-5));

    mi_matrix_rotate_axis(m, &axis, (miScalar)MI_PI_2);
    mi_vector_transform(&r, &x, m);
    CHECK(NEAR3(r, y, 1e-6));
    /* Turned about x by 0.3, about y by -0.5, about z by 1.1, one after the other. */
    mi_matrix_rotate(n, 0.3f, -0.5f, 1.1f);
    mi_vector_transform(&r, &y, n);
    expected.y = (miScalar)cos(0.3);
    expected.z = (miScalar)(sin(0.3) * cos(-0.5));
    expected.x = (miScalar)(sin(0.3) * sin(-0.5));
    mi_matrix_rotate_axis(m, &axis, 1.1f);
    mi_vector_transform(&expected, &expected, m);
    CHECK(NEAR3(r, expected, 1e-5));
}

DLLEXPORT int corpus_numbers_version(void) {
    return 1;
}

DLLEXPORT miBoolean corpus_numbers(miColor* result, miState* state, void* parameters) {
    miGeoVector exact = {0.1, 0.2, 0.3};
    miVector2d flat = {1, 2};
    miGeoIndex index = 0xffffffffu;
    miUlong large = 1ul << 40;
    char *copy, text[] = "a name";
    int type = 0;
    (void)result;
    (void)parameters;
    if (!RUNS_AT_PIXEL(state, 3, 2)) return miTRUE;
    check_noise();
    check_curves_and_rotations();
    CHECK(sizeof(miGeoScalar) == 8 && exact.z == 0.3 && flat.v == 2 && index > 0 && large > index);
    CHECK(miHUGE_SCALAR > 1e30 && 100 * miHUGE_SCALAR < HUGE_VAL && miGEO_SCALAR_EPSILON < miSCALAR_EPSILON);
    copy = mi_mem_strdup(text);
    CHECK(copy != text && strcmp(copy, "a name") == 0);
    mi_mem_release(copy);
    CHECK(mi_db_access_type(state->instance, &type) != NULL && type == miSCENE_INSTANCE);
    mi_db_unpin(state->instance);
    CHECK(!mi_par_aborted());
    return miTRUE;
}
