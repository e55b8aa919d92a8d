// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// One light sample as a component sees it. Directions are unit length, in internal space, and point away
/// from the surface.
struct LightSample {
    miColor color;              ///< after shadows
    miVector direction;         ///< to the light
    miScalar nDotL;             ///< cosine with the shading normal; negative from behind
    miVector mirror;            ///< mirror direction of the eye's ray
    miVector specularDirection; ///< to the point of the light that highlights are computed for
};
