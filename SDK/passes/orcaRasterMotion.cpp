// SPDX-License-Identifier: Apache-2.0
#include "orcaRasterMotion.h"

miVector motionInRaster(miState* state) {
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
