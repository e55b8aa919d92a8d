// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "types.h"

/// Camera data. The camera sits at the origin of camera space and looks down -z with +y up. Read only for
/// shaders.
typedef struct miCamera {
    miBoolean orthographic;
    miScalar focal;    ///< distance of the image plane, same unit as aperture
    miScalar aperture; ///< width of the image at distance focal (of the view when orthographic)
    miScalar aspect;   ///< image width / height
    miRange clip;      ///< near and far distance along -z, scene units
    int x_resolution, y_resolution;
    struct miWindow {
        int xl, yl, xh, yh;
    } window; ///< pixels rendered, inclusive, lower left origin
    miTag volume, environment;
    miTag lens;
    miTag output;
    int frame;
    miScalar frame_time;
    int frame_field;
    miScalar x_offset, y_offset; ///< pixels
    miTag userdata;
    miTag buffertag; ///< collection of named frame buffers
} miCamera;
