// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaVector.h"

#include <shader.h>

/// Makes `bumped` the shading normal, lifted above the geometric surface when it points below it. A null
/// vector is not changed.
void bendNormal(miState* state, const miVector& bumped);

/// Cosine between the shading normal and the direction to the ray's origin; 1 where the normal leans away
/// from it.
[[nodiscard]] inline miScalar facingRatio(const miState* state) noexcept {
    const miScalar cosine = -dot(state->normal, state->dir);
    return cosine < 0.0f ? 1.0f : cosine;
}
