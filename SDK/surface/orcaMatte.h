// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaComposite.h"
#include "orcaSurfaceShaderReturnType.h"

/// Matte opacity of shaders that mix or replace colours: a black hole, a value, or the value times the
/// opacity.

/// The hit hides everything and shows nothing.
inline void makeBlackHole(SurfaceShaderReturnType& result) noexcept {
    result.matteOpacity.r = result.matteOpacity.g = result.matteOpacity.b = BLACK_HOLE_MARK;
}

/// Matte opacity of every mode but the black hole, from the result's transparency. Alpha stays.
/// @param mode MATTE_SOLID: the value; else the value times the opacity
inline void setMatte(SurfaceShaderReturnType& result, miInteger mode, miScalar value) noexcept {
    const miColor opacity = mode == MATTE_SOLID ? WHITE : WHITE - result.transparency;
    result.matteOpacity = withAlpha(opacity * value, result.matteOpacity.a);
}
