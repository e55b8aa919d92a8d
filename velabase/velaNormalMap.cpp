// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaVector.h"

#include <shader.h>

/// Parameters of velaNormalMap, in declaration order.
struct VelaNormalMapParameters {
    miColor map;       // connected: red along u, green along v, blue along the normal; 0.5 is none, 1 is full
    miScalar strength; // of the slopes; 0: none
    miBoolean flipGreen; // the map's green points against v
    miVector normal;     // connected: the normal along blue; else the shading normal
};

namespace {

using P = VelaNormalMapParameters;

/// Unit tangents in internal space, perpendicular to the normal.
struct Frame {
    miVector u, v;
};

/// The object's own bump basis where it has one, as the map was made for it; else the texture derivatives.
bool frameOf(miState* state, const miVector& normal, Frame& frame) {
    if (state->bump_x_list && state->bump_y_list && !isNull(state->bump_x_list[0])) {
        mi_vector_from_object(state, &frame.u, &state->bump_x_list[0]);
        mi_vector_from_object(state, &frame.v, &state->bump_y_list[0]);
    } else if (!isNull(state->derivs[0]) && !isNull(state->derivs[1])) {
        frame = {state->derivs[0], state->derivs[1]};
    } else {
        return false;
    }
    const bool mirroredTexture = dot(cross(frame.u, frame.v), normal) < 0.0f;
    frame.u = normalized(frame.u - normal * dot(normal, frame.u));
    frame.v = mirroredTexture ? cross(frame.u, normal) : cross(normal, frame.u);
    return !isNull(frame.u);
}

} // namespace

extern "C" {

ORCA_EXPORT int velaNormalMap_version(void) {
    return 1;
}

/// The normal that a tangent-space map holds. Internal space, unit.
ORCA_EXPORT miBoolean velaNormalMap(miVector* result, miState* state, VelaNormalMapParameters* record) {
    const miVector normal = isConnected(state, record, &P::normal)
                                ? normalized(parameterValue(state, record, &P::normal))
                                : state->normal;
    *result = normal;
    // Maps describe the outside; the side that is seen may be the other one.
    const miVector outward = state->inv_normal ? -normal : normal;
    Frame frame;
    if (!frameOf(state, outward, frame)) return miTRUE;
    const miColor map = parameterValue(state, record, &P::map);
    const float strength = parameterValue(state, record, &P::strength);
    const float x = strength * (2.0f * map.r - 1.0f);
    const float y =
        strength * (2.0f * map.g - 1.0f) * (parameterValue(state, record, &P::flipGreen) ? -1.0f : 1.0f);
    const miVector bent = frame.u * x + frame.v * y + outward * (2.0f * map.b - 1.0f);
    if (isNull(bent)) return miTRUE;
    *result = normalized(state->inv_normal ? -bent : bent);
    return miTRUE;
}

} // extern "C"

#include "declared/velaNormalMap.h"
