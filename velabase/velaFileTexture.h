// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Parameters of velaFileTexture, in declaration order.
struct VelaFileTextureParameters {
    miTag texture;       // an image file, pixels or a procedural texture
    miVector coordinate; // connected: where to look; else the surface's first texture space
    miInteger wrapU;     // one of TextureEdge
    miInteger wrapV;
    miScalar filter;      // scale of the footprint; 0: a point
    miBoolean smooth;     // texels larger than a pixel: cubic instead of bilinear
    miColor gain;         // multiplies the image
    miColor offset;       // added to the product
    miColor defaultColor; // outside the frame of a placement or of the image
    miBoolean alphaFromLuminance;
};

/// What lies beyond an edge of the image.
enum TextureEdge : miInteger { RepeatEdge = 0, ClampEdge = 1, MirrorEdge = 2, DefaultBeyondEdge = 3 };

/// What a file texture returns.
struct FileTextureResult {
    miColor color;
    miScalar alpha;
    miScalar luminance;
    miVector vector;
};
