// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// What a surface shader hands to the shading engine: the picture and the parts it is made of.
struct SurfaceShaderReturnType {
    miColor color;
    miColor glowColor;
    miColor matteOpacity; ///< red BLACK_HOLE_MARK: the hit hides everything and shows nothing in the matte
    miColor transparency; ///< transmission that the renderer sees; the one field that shadow calls set
    miColor ambient;
    miColor incandescence;
    miColor irradiance; ///< indirect diffuse light
    miColor diffuse;    ///< translucence included
    miColor diffuseUnshadowed;
    miColor specular;
    miColor specularUnshadowed;
    miColor reflection;
    miColor refraction;
    miColor scatter;
    miColor translucence;
    miColor opacity; ///< white minus transparency
};
static_assert(sizeof(SurfaceShaderReturnType) == 256);

/// Red of a matte opacity that makes a black hole.
inline constexpr miScalar BLACK_HOLE_MARK = -1000000.0f;
