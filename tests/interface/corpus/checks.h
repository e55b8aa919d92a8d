/* SPDX-License-Identifier: Apache-2.0 */
/* Checks inside shaders: one that fails is an error of the render that names file, line and condition. */
#ifndef CHECKS_H
#define CHECKS_H

#include <math.h>

#define CHECK(condition)                                                                                     \
    do {                                                                                                     \
        if (!(condition)) mi_error("%s:%d: %s", __FILE__, __LINE__, #condition);                             \
    } while (0)
#define NEAR(a, b, tolerance) (fabs((double)(a) - (double)(b)) <= (tolerance))
#define NEAR3(a, b, tolerance)                                                                               \
    (NEAR((a).x, (b).x, tolerance) && NEAR((a).y, (b).y, tolerance) && NEAR((a).z, (b).z, tolerance))
#define RUNS_AT_PIXEL(state, x, y) ((int)(state)->raster_x == (x) && (int)(state)->raster_y == (y))

#endif
