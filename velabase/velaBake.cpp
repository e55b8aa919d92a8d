// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaGuards.h"
#include "orcaParameters.h"
#include "orcaUtilities.h"
#include "orcaVector.h"
#include "velaIncomingLight.h"

#include <shader.h>

/// Parameters of velaBake, in declaration order.
struct VelaBakeParameters {
    miTag texture;      // a writable one: the renderer puts there what this shader returns
    miInteger quantity; // one of BakedQuantity
    miTag shading;      // BakedShading: called instead of the material's own shader
    miInteger space;    // BakedNormal, BakedPosition: 0 world, 1 object
    miScalar distance;  // BakedOpenness: surfaces further off do not count, scene units; 0: all do
};

enum BakedQuantity : miInteger {
    BakedShading = 0,  // as seen along the normal
    BakedLight = 1,    // what a white matte surface sends back of all light, direct and gathered
    BakedOpenness = 2, // 1 - ambient occlusion
    BakedNormal = 3,   // unit
    BakedPosition = 4
};

namespace {

using P = VelaBakeParameters;

/// The material takes the call for that of an eye ray's hit.
miBoolean shade(miState* state, P* record, miColor& result) {
    const Restored<miRay_type> type(state->type);
    state->type = miRAY_EYE;
    const miTag shading = parameterValue(state, record, &P::shading);
    return shading ? mi_call_shader_x(&result, miSHADER_MATERIAL, state, shading, nullptr)
                   : mi_call_material(&result, state);
}

miColor light(miState* state) {
    miColor sum{};
    mi_compute_avg_radiance(&sum, state, 'f', nullptr);
    eachIncomingLight(state, [&](const miColor& each) { sum = sum + each; });
    sum.a = 1.0f;
    return sum;
}

miColor openness(miState* state, P* record) {
    const Restored<miVector> direction(state->dir), normal(state->normal);
    const miScalar distance = parameterValue(state, record, &P::distance);
    miAo_options request{
        sizeof(miAo_options), -1, state->normal, -2.0f, 1.0f, -1.0f, distance > 0.0f ? distance : -1.0f, -1};
    miScalar occlusion = 0.0f;
    mi_ambient_occlusion(&occlusion, state, &request);
    const miScalar open = 1.0f - occlusion;
    return {open, open, open, 1.0f};
}

miColor colorOf(const miVector& v) {
    return {v.x, v.y, v.z, 1.0f};
}

miColor normal(miState* state, bool inObject) {
    miVector n = state->normal;
    if (inObject) mi_normal_to_object(state, &n, &n);
    return colorOf(normalized(n));
}

miColor position(miState* state, bool inObject) {
    miVector p = state->point;
    if (inObject) mi_point_to_object(state, &p, &p);
    return colorOf(p);
}

} // namespace

extern "C" {

ORCA_EXPORT int velaBake_version(void) {
    return 1;
}

/// A light map shader: what the hit surface shows, receives or is.
ORCA_EXPORT miBoolean velaBake(miColor* result, miState* state, VelaBakeParameters* record) {
    const bool inObject = parameterValue(state, record, &P::space) == 1;
    switch (parameterValue(state, record, &P::quantity)) {
    case BakedShading: return shade(state, record, *result);
    case BakedLight: *result = light(state); break;
    case BakedOpenness: *result = openness(state, record); break;
    case BakedNormal: *result = normal(state, inObject); break;
    case BakedPosition: *result = position(state, inObject); break;
    default: orcaWarning("velaBake(): quantity is none of 0 to 4."); return miFALSE;
    }
    return miTRUE;
}

} // extern "C"

#include "declared/velaBake.h"
