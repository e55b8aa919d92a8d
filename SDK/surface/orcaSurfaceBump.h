// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Makes `bumped` the shading normal, lifted above the geometric surface when it points below it. A null
/// vector stays.
void bendNormal(miState* state, const miVector& bumped);
