// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Space in which a normal pass shows the shading normal. Every other value means world space.
enum NormalSpace : miUint { NORMAL_SPACE_WORLD = 0, NORMAL_SPACE_CAMERA = 1, NORMAL_SPACE_OBJECT = 2 };

/// The state's shading normal in a space; unit length except in the object space of a scaled instance.
/// @param space one of NormalSpace
[[nodiscard]] miVector normalInSpace(miState* state, miUint space);
