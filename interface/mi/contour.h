// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "types.h"

/// Contour lines. The options name a store and a contrast shader, materials list contour shaders. Entry
/// points:
///
///     miBoolean store(void* info, int* info_size, miState*, void* parameters, miColor*);
///     miBoolean contrast(void* info1, void* info2, int level, miState*, void* parameters);
///     miBoolean contour(miContour_endpoint*, void* info_near, void* info_far, miState*, void* parameters);
///
/// `store` keeps what the contrast shader needs to know of a hit, after the hit's material shader, whose
/// result it gets, and may change: `*info_size` is the room at `info` in bytes, and on return what is used.
/// `contrast` compares two neighbouring hits of the same level (0: seen directly, 1: in or through one
/// surface, and so on); a null pointer is a ray that hits nothing there. miTRUE: a line passes between them.
/// `contour` gives the line's look at a point of it, in the state of the nearer hit; false, and a width of
/// 0: there is none.

/// Room that store shaders have, bytes.
#define miCONTOUR_INFO_SIZE 1024

/// What is usually kept of a hit.
typedef struct miStdInfo {
    miVector point;  ///< internal space
    miVector normal; ///< internal space, unit, toward the ray's origin
    miColor color;   ///< result of the material shader
    miTag material;
    miTag instance;
    miUint label;
    miGeoIndex index; ///< of the triangle in its object
    int level;
} miStdInfo;

/// A point of a contour line. Contour shaders find it filled in, with opaque black and width 0.
typedef struct miContour_endpoint {
    miVector point;  ///< x, y: pixels, (0, 0) lower left; z: length of the path from the camera, scene units
    miColor color;   ///< not multiplied by alpha, which is the line's opacity
    miScalar width;  ///< percent of the picture's width, at most miCONTOUR_MAX_WIDTH
    miVector motion; ///< of the nearer hit: over the shutter, internal space
    miVector normal; ///< of the nearer hit: internal space
} miContour_endpoint;

#define miCONTOUR_MAX_WIDTH 5.0f

miBEGIN_INTERFACE

/// Output shaders whose statement names "contour": the next segment of the picture's contour lines, far ones
/// first. False after the last one, and the next call begins again. False as well outside of output shaders.
miBoolean mi_get_contour_line(miContour_endpoint* p1, miContour_endpoint* p2);

miEND_INTERFACE
