// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Parameters of velaNormalMap, in declaration order.
struct VelaNormalMapParameters {
    miColor map;       // connected: red along u, green along v, blue along the normal; 0.5 is none, 1 is full
    miScalar strength; // of the slopes; 0: none
    miBoolean flipGreen; // the map's green points against v
    miVector normal;     // connected: the normal along blue; else the shading normal
};
