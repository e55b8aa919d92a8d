// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Which shading components a render mode needs, and how a material's result is composed of them.

#include "orcaExport.h"
#include "orcaSurfaceShaderReturnType.h"

#include <shader.h>

/// Bits of `bc::componentMask`.
enum CompositeComponents : miUint {
    COMPOSITE_AMBIENT = 0x1,
    COMPOSITE_INCANDESCENCE = 0x2,
    COMPOSITE_INDIRECT = 0x4,
    COMPOSITE_DIFFUSE = 0x8, ///< diffuse light after shadows
    COMPOSITE_DIFFUSE_UNSHADOWED = 0x10,
    COMPOSITE_THROUGHPUT = 0x20, ///< keeps the path's throughput and sums light for shadow normalisation
    COMPOSITE_SPECULAR = 0x40,   ///< specular light after shadows
    COMPOSITE_SPECULAR_UNSHADOWED = 0x80,
    COMPOSITE_REFRACTION = 0x100,
    COMPOSITE_TRACE_LIMIT = 0x200, ///< secondary rays are traced
    COMPOSITE_SCATTER = 0x400,
};

/// Render modes of `bc_construct`.
enum RenderMode : miInteger {
    RENDER_MODE_FULL = 0,
    RENDER_MODE_UNSHADOWED = 1,
    RENDER_MODE_SHADOW = 2,
    RENDER_MODE_AMBIENT = 3,
    RENDER_MODE_DIFFUSE_UNSHADOWED = 4,
    RENDER_MODE_SPECULAR_UNSHADOWED = 5,
    RENDER_MODE_GATHERED = 6,
};

struct bc {
    miInteger mode;
    miInteger a; ///< the material evaluates its lights
    miInteger b; ///< lights trace shadows
    miUint componentMask;
};

/// How the matte opacity follows from the material's settings.
enum MatteRule : int { MATTE_BLACK_HOLE = 0, MATTE_SOLID = 1, MATTE_OPACITY_GAIN = 2 };

/// Inputs of `bc_composite`; a null pointer is an input that the material does not supply.
struct CompositeInputs {
    miColor ambient;
    miColor incandescence;
    miColor indirect;
    miColor diffuse; ///< translucence included
    miColor diffuseUnshadowed;
    miColor translucence; ///< its part of diffuse, only stored
    miColor specular;
    miColor specularUnshadowed;
    const miColor* refraction;
    const miColor* scatter;
    miColor reflection; ///< traced reflection, added with COMPOSITE_TRACE_LIMIT
    miColor transparency;
    miScalar glow;         ///< share of the shaded colour that glows
    miScalar specularGlow; ///< share of highlights and refraction that glows
    miScalar shadowMatte;  ///< RENDER_MODE_SHADOW: what the matte opacity is set to
    int matteRule;         ///< one of MatteRule; other values leave the matte opacity
    miScalar matteOpacity;
    bool clear; ///< the material's own colour is dropped, only reflections stay
};

extern "C" {

ORCA_EXPORT void bc_construct(bc* record, int mode, miState* state);
/// Composes `result` from its components. `result->transparency` has been set by the caller.
ORCA_EXPORT void bc_composite(const bc* record, SurfaceShaderReturnType* result,
                              const CompositeInputs* inputs);
ORCA_EXPORT void bc_destruct(bc* record);

} // extern "C"
