// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velaClosure.h"
#include "velaFlakes.h"

#include <shader.h>

namespace vela {

/// A paint: pigment, flakes of metal above it, a clear coat over both, and dirt on everything. Colours and
/// shares are 0 to 1.
struct Paint {
    miColor color;         ///< of the pigment, seen head on
    miColor edgeColor;     ///< seen at grazing angles
    miScalar edgeExponent; ///< above 0; larger: the edge colour keeps to the edges
    miColor flakeColor;
    miScalar flakes;         ///< share of the light that meets flakes
    miScalar flakeRoughness; ///< of a single flake
    FlakeField field;
    miScalar coat;
    miColor coatColor; ///< of light that goes through it and back
    miScalar coatRoughness, coatIndex;
    miScalar dirt; ///< share of the surface that is covered
    miColor dirtColor;
};

/// Adds the layers of a paint to a closure of which the frame and view are set.
/// @param coatFrame of the coat
/// @param pixel     scene units that a pixel covers
void addPaint(Closure& closure, miState* state, const Paint& paint, const LayerFrame& coatFrame,
              miScalar pixel);

} // namespace vela
