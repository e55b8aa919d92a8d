// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velaFacetLobe.h"

#include <shader.h>

namespace vela {

/// Metal flakes in a lacquer: a cell of space each, so that they stay where they are on the object.
struct FlakeField {
    miScalar size;    ///< of a cell, units of object space
    miScalar spread;  ///< 0 to 1: roughness that the flakes' directions make together
    miScalar density; ///< 0 to 1: share of the cells with a flake
};

/// The flake at the state's point.
struct Flake {
    bool present;
    miVector normal; ///< internal space, unit
    /// 0 to 1: share in which single flakes are seen. The rest is their mean, where a pixel covers many.
    miScalar distinct;
};

/// The same for the same place, on any thread.
/// @param frame of the lacquer's surface
/// @param view  local
/// @param pixel scene units that a pixel covers
[[nodiscard]] Flake flakeAt(miState* state, const FlakeField& field, const LayerFrame& frame,
                            const miVector& view, miScalar pixel);

} // namespace vela
