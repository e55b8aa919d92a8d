// SPDX-License-Identifier: Apache-2.0
#include "orcaNormalSpace.h"

miVector normalInSpace(miState* state, miUint space) {
    miVector n = state->normal;
    if (space == NORMAL_SPACE_CAMERA) mi_normal_to_camera(state, &n, &n);
    else if (space == NORMAL_SPACE_OBJECT) mi_normal_to_object(state, &n, &n);
    else mi_normal_to_world(state, &n, &n);
    return n;
}
