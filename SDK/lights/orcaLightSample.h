// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// One light sample as a component sees it. Directions are unit length, in internal space, and point away
/// from the surface.
struct LightSample {
    miColor color;              ///< after shadows
    miVector direction;         ///< to the light
    miScalar nDotL;             ///< cosine with the shading normal; negative from behind
    miVector mirror;            ///< where the eye's ray goes after reflection
    miVector specularDirection; ///< to the part of the light that the highlight is measured to
};
