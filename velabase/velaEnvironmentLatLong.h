// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Parameters of velaEnvironmentLatLong, in declaration order.
struct VelaEnvironmentLatLongParameters {
    miTag texture;  // image of all directions; none: the gradient of the three colours below
    miColor zenith; // straight up
    miColor horizon;
    miColor ground;      // straight down
    miColor gain;        // multiplies both
    miScalar rotation;   // degrees about the up axis; positive turns the surroundings to the left
    miScalar blur;       // radians; least angle over which every look-up is filtered
    miScalar gatherBlur; // radians; the same for rays that gather indirect light
};
