// SPDX-License-Identifier: Apache-2.0
#include "mathematics/reflectance.h"

#include "base/vectors.h"
#include "mathematics/directions.h"

#include <shader.h>

#include <algorithm>
#include <cmath>

using namespace orca;

extern "C" {

DLLEXPORT miScalar mi_fresnel_reflection(miState* state, miScalar ior_in, miScalar ior_out) {
    return fresnel(dot(state->normal, state->dir), ior_out / ior_in);
}

DLLEXPORT miScalar mi_fresnel(miScalar n1, miScalar n2, miScalar t1, miScalar t2) {
    const float across = (n1 * t1 - n2 * t2) / (n1 * t1 + n2 * t2);
    const float along = (n2 * t1 - n1 * t2) / (n2 * t1 + n1 * t2);
    const float reflected = 0.5f * (across * across + along * along);
    return reflected <= 1.0f ? reflected : 1.0f; // both cosines 0: 0 / 0
}

DLLEXPORT miScalar mi_phong_specular(miScalar exponent, miState* state, miVector* dir) {
    const float cosine = dot(mirrorDirection(state->dir, state->normal), *dir);
    return cosine > 0.0f ? std::pow(cosine, exponent) : 0.0f;
}

DLLEXPORT miScalar mi_blinn_specular(const miVector* in, const miVector* out, const miVector* normal,
                                     miScalar roughness, miScalar ior) {
    float cosine = 0.0f;
    const float facets = trowbridgeReitzFacets(*in, *out, *normal, roughness, cosine);
    return facets > 0.0f ? facets * fresnel(cosine, ior) : 0.0f;
}

DLLEXPORT miBoolean mi_cooktorr_specular(miColor* result, const miVector* in, const miVector* out,
                                         const miVector* normal, miScalar roughness, const miColor* ior) {
    float cosine = 0.0f;
    const float facets = beckmannFacets(*in, *out, *normal, roughness, cosine);
    *result = {0.0f, 0.0f, 0.0f, 1.0f};
    if (!(facets > 0.0f)) return miFALSE;
    result->r = facets * fresnel(cosine, ior->r);
    result->g = facets * fresnel(cosine, ior->g);
    result->b = facets * fresnel(cosine, ior->b);
    return miTRUE;
}

DLLEXPORT miScalar mi_ward_glossy(const miVector* in, const miVector* out, const miVector* normal,
                                  miScalar shiny) {
    return wardReflectance(*in, *out, facetsOf(*normal, shiny));
}

DLLEXPORT miScalar mi_ward_anisglossy(const miVector* in, const miVector* out, const miVector* normal,
                                      const miVector* u, const miVector* v, miScalar shiny_u,
                                      miScalar shiny_v) {
    return wardReflectance(*in, *out, facetsOf(*normal, *u, *v, shiny_u, shiny_v));
}

DLLEXPORT miScalar mi_schlick_scatter(const miVector* in, const miVector* out, miScalar directionality) {
    return schlickPhase(dot(*in, *out), directionality);
}

} // extern "C"
