// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the camera's image planes show behind a point of the scene.

#include "orcaExport.h"

#include <shader.h>

/// First word of the data block on a camera that names its image planes: "IPln".
inline constexpr miInteger IMAGE_PLANES_MAGIC = 0x49506C6E;

/// The block. Array element k is `planes[i_planes + k]`.
struct ImagePlanesData {
    miInteger magic;
    int i_planes;
    int n_planes;
    miTag planes[1]; ///< instances, or the objects that they place
};

extern "C" {

/// Colour of the first of the camera's image planes along the state's ray behind its point; objects in front
/// of the plane are ignored. Writes to no pass.
/// @param plane one of the planes of the camera's block: the only one considered; 0: any of them
/// @return false, with the result untouched, when the ray meets none
ORCA_EXPORT miBoolean imageplane_compute_intersection(miColor* result, miState* state, unsigned int plane);

} // extern "C"
