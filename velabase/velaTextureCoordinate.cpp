// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaVector.h"

#include <shader.h>

/// Parameters of velaTextureCoordinate, in declaration order.
struct VelaTextureCoordinateParameters {
    miInteger space; // counted from 0
};

namespace {

struct Corners {
    miVector *a, *b, *c;
};

/// How far another texture space goes where the first one goes by `step`, on the hit triangle.
miVector carriedOver(miState* state, miInteger space, const miVector& step) {
    Corners at{};
    if (!mi_tri_vectors(state, 't', 0, &at.a, &at.b, &at.c)) return {0.0f, 0.0f, 0.0f};
    const miVector first1 = *at.b - *at.a, first2 = *at.c - *at.a; // the next call takes their memory
    const miScalar area = first1.x * first2.y - first1.y * first2.x;
    if (area == 0.0f || !mi_tri_vectors(state, 't', space, &at.a, &at.b, &at.c)) return {0.0f, 0.0f, 0.0f};
    const miScalar along1 = (step.x * first2.y - step.y * first2.x) / area;
    const miScalar along2 = (first1.x * step.y - first1.y * step.x) / area;
    return (*at.b - *at.a) * along1 + (*at.c - *at.a) * along2;
}

/// How far other nodes have moved the first texture coordinate from where the triangle has it at the hit.
miVector stepFromHit(miState* state) {
    Corners at{};
    if (!mi_tri_vectors(state, 't', 0, &at.a, &at.b, &at.c)) return {0.0f, 0.0f, 0.0f};
    return state->tex_list[0] - (*at.a * state->bary[0] + *at.b * state->bary[1] + *at.c * state->bary[2]);
}

} // namespace

extern "C" {

ORCA_EXPORT int velaTextureCoordinate_version(void) {
    return 1;
}

/// The place in a texture space. Where another node looks next to the hit, that is next to it in this space
/// as well.
ORCA_EXPORT miBoolean velaTextureCoordinate(miVector* result, miState* state,
                                            VelaTextureCoordinateParameters* record) {
    const miInteger space = parameterValue(state, record, &VelaTextureCoordinateParameters::space);
    int spaces = 0;
    mi_query(miQ_NUM_TEXTURES, state, miNULLTAG, &spaces);
    *result = {0.0f, 0.0f, 0.0f};
    if (space < 0 || space >= spaces) return miTRUE;
    *result = state->tex_list[space];
    if (space > 0) *result = *result + carriedOver(state, space, stepFromHit(state));
    result->z = 0.0f; // inside the frame
    return miTRUE;
}

} // extern "C"

#include "declared/velaTextureCoordinate.h"
