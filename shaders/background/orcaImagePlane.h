// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaImagePlane, in declaration order.
struct ImagePlaneParameters {
    miInteger passWriteMode;
    miInteger passWriteFlags;
    miScalar passWriteScale;
    miInteger sourceKind; // 0: imageTexture, else imageColor
    miTag imageTexture;   // looked up at the first texture coordinate
    miColor imageColor;
    miInteger displayMode; // 0 hidden, 2 opaque colour, 4 luminance, 5 alpha as grey, else colour with alpha
    miColor colorGain;     // of the texture's rgb
    miColor colorOffset;
    miScalar alphaGain;
    miInteger reflectionVisible; // 0: reflection rays ignore it
    miInteger refractionVisible;
};

extern "C" {
ORCA_EXPORT int orcaVelaImagePlane_version(void);
ORCA_EXPORT void orcaVelaImagePlane_init(miState* state, ImagePlaneParameters* record,
                                         miBoolean* instanceInitRequired);
ORCA_EXPORT void orcaVelaImagePlane_exit(miState* state, ImagePlaneParameters* record);
/// Shows a picture on a card, unlit; called as a material or by the shading engine. False, with a warning and
/// the result untouched, when the render state lacks its base record.
ORCA_EXPORT miBoolean orcaVelaImagePlane(miColor* result, miState* state, ImagePlaneParameters* record);
} // extern "C"
