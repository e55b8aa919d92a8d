// SPDX-License-Identifier: Apache-2.0
#include "orcaSurfaceBump.h"

#include "orcaVector.h"

void bendNormal(miState* state, const miVector& bumped) {
    // Least cosine with the geometric normal, before the length is restored.
    constexpr float clearance = 0.0015f;
    miVector n = bumped;
    const float d = dot(n, state->normal_geom);
    if (d < 0.0f) n = normalized(n + state->normal_geom * (clearance - d));
    state->normal = n;
    state->dot_nd = dot(n, state->dir);
}
