// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velaFacetLobe.h"

#include <shader.h>

namespace vela {

/// Axes of a layer at the state's point, x along the texture's u direction turned by `degrees`, or along any
/// tangent where the hit has no texture space.
/// @param normal unit
[[nodiscard]] LayerFrame layerFrame(miState* state, const miVector& normal, miScalar degrees);

/// Direction to the ray's origin, local; lifted above the layer where its normal leans away.
[[nodiscard]] miVector viewFrom(const miState* state, const LayerFrame& frame);

} // namespace vela
