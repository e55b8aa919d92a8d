// SPDX-License-Identifier: Apache-2.0
#include "orcaCamera.h"

#include "orcaGuards.h"

void origin_from_camera(miState* state, miVector* origin) {
    *origin = {0.0f, 0.0f, 0.0f};
    const Pinned<const miInstance> camera(state->camera_inst);
    if (!camera) return;
    const miScalar* m = camera->tf.local_to_global;
    *origin = {m[12], m[13], m[14]};
    if (m[15] != 1.0f && m[15] != 0.0f) {
        origin->x /= m[15];
        origin->y /= m[15];
        origin->z /= m[15];
    }
}
