// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::geometry {

/// The surface at a hit, in internal space.
struct SurfacePoint {
    miVector point;           ///< interpolated from the triangle's vertices, at the ray's time
    miVector normal;          ///< shading normal, unit, as modelled
    miVector geometricNormal; ///< unit, as modelled (counter-clockwise front)
    float bary[4];
    miTag material; ///< after inheritance; never 0 (else the default material)
    miUint label;
    void* primitive;  ///< identifies the triangle
    miVector opening; ///< the point at the start of the unit shutter
    miVector motion;  ///< displacement over the unit shutter; null without motion
    bool moves;
    int textureSpaces;     ///< entries written to the caller's texture coordinates
    miVector dPdu, dPdv;   ///< by the first texture space; null where unknown
    miVector bumpX, bumpY; ///< bump basis of the first texture space, object space
};

} // namespace orca::geometry
