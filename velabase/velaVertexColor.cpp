// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaParameters.h"

#include <shader.h>

/// Parameters of velaVertexColor, in declaration order.
struct VelaVertexColorParameters {
    miInteger space; // texture space whose three coordinates are red, green and blue
    miColor gain;    // multiplies
};

namespace {

using P = VelaVertexColorParameters;

} // namespace

extern "C" {

ORCA_EXPORT int velaVertexColor_version(void) {
    return 1;
}

/// Colours that vertices carry in a texture space of three dimensions, interpolated over triangles. White
/// where the surface has no such space.
ORCA_EXPORT miBoolean velaVertexColor(miColor* result, miState* state, VelaVertexColorParameters* record) {
    const miInteger space = parameterValue(state, record, &P::space);
    *result = parameterValue(state, record, &P::gain);
    int spaces = 0;
    mi_query(miQ_NUM_TEXTURES, state, miNULLTAG, &spaces);
    if (space < 0 || space >= spaces) return miTRUE;
    const miVector& color = state->tex_list[space];
    result->r *= color.x;
    result->g *= color.y;
    result->b *= color.z;
    return miTRUE;
}

} // extern "C"

#include "declared/velaVertexColor.h"
