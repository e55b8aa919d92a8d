// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Parameters of velaThinLens, in declaration order.
struct VelaThinLensParameters {
    miScalar focusDistance;  // scene units along the view axis; what lies there is sharp
    miScalar fStop;          // focal length over the diameter of the aperture
    miScalar lensScale;      // scene units per unit of the camera's focal length
    miScalar apertureRadius; // scene units; above 0: taken instead of fStop
    miInteger blades;        // sides of the aperture; below 3: round
    miScalar bladeRotation;  // degrees
};
