// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The wave field at a shaded point: the parameters of the running shader, the size that the pixel covers,
/// and the bent normal.

#include "orcaExport.h"
#include "orcaOceanParameters.h"
#include "orcaVelaState.h"

#include <shader.h>

/// The waves at a point.
struct OceanTextureSample {
    miScalar height; ///< world units
    miScalar foam;
    miVector normal; ///< world space, unit
};

/// User data of an object whose waves' height input is made in object space, found by VELA_MAGIC.
struct ReferenceObjectData {
    miInteger magic;
    miInteger kind; ///< REFERENCE_OBJECT_KIND
};
inline constexpr miInteger REFERENCE_OBJECT_KIND = 2;

extern "C" {

/// Angle of one pixel, radians. Without a render state a typical value.
[[nodiscard]] ORCA_EXPORT miScalar ocean_x_pixel_angle(VelabaseState*& vela);

/// Height of the waves at the state's point, world units, also written to `height`.
/// @param foam   null when not wanted
/// @param normal in: unit, world space, on the upper side; out: bent by the waves. Null when not wanted.
ORCA_EXPORT miScalar oceanshader_compute_texture(miScalar* height, miScalar* foam, miVector* normal,
                                                 miState* state, OceanShaderParameters* parameters);

} // extern "C"
