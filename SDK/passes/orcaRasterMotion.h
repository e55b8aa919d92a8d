// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Displacement of the state's point over the shutter in raster space, in pixels. x is scaled to square
/// pixels; z is 0.
[[nodiscard]] inline miVector motionInRaster(miState* state) {
    miVector moved;
    mi_vector_add(&moved, &state->point, &state->motion);
    miVector start, end;
    mi_point_to_raster(state, &start, &state->point);
    mi_point_to_raster(state, &end, &moved);
    const miCamera* const camera = state->camera;
    const float widening = camera ? camera->aspect / (static_cast<float>(camera->x_resolution) /
                                                      static_cast<float>(camera->y_resolution))
                                  : 1.0f;
    return {(end.x - start.x) * widening, end.y - start.y, 0.0f};
}
