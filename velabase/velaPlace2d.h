// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Parameters of velaPlace2d, in declaration order.
struct VelaPlace2dParameters {
    miVector coordinate; // connected: what is placed; else the surface's first texture space
    miScalar coverageU;  // width of the frame, as a share of the surface's
    miScalar coverageV;
    miScalar translateFrameU; // lower left corner of the frame on the surface
    miScalar translateFrameV;
    miScalar rotateFrame; // degrees, counter-clockwise about the middle of the surface
    miBoolean wrapU;      // the frame repeats; off: the texture's default colour
    miBoolean wrapV;
    miScalar repeatU; // copies within the frame
    miScalar repeatV;
    miScalar offsetU; // of the texture within the frame, in copies
    miScalar offsetV;
    miScalar rotateUV; // degrees, of the texture about the middle of the frame
    miBoolean mirrorU; // every other copy is mirrored
    miBoolean mirrorV;
    miBoolean stagger; // every other row is shifted by half a copy
};
