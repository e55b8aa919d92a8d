// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How a hit is lit by all of its lights together, for what is no sum over them. No pass is written.

#include "orcaVelaState.h"

#include <shader.h>

struct LightMeasures {
    miScalar brightness = 0.0f; ///< luminance that a white matte surface would show
    miScalar unshadowedBrightness = 0.0f;
    miScalar most = 0.0f; ///< luminance if it faced every light, without shadows
    miScalar angle =
        0.0f; ///< mean cosine of the lights' angles, weighted by their unshadowed luminance; 0 to 1
};

/// Samples all lights of the state's hit, on both of its sides where it was met from its back.
[[nodiscard]] LightMeasures lightMeasures(miState* state, VelabaseState& vela, bool skipShadows);
