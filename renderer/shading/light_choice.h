// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::shading {

/// Lights that a shader samples instead of all that its list would have. It lasts until that shader returns.
struct LightChoice {
    const void* from;        ///< identifies the lights that there were to choose from
    int nesting;             ///< of the state that the list is for
    miVector point;          ///< of that state
    int count;               ///< of lights chosen; -1: the shader wants its lists whole
    miTag* lights;           ///< light instances
    const miScalar* weights; ///< what their samples are multiplied by: 1 / probability
};

} // namespace orca::shading
