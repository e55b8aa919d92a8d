// SPDX-License-Identifier: Apache-2.0
#include "mathematics/directions.h"

#include "base/vectors.h"
#include "render/context/render_context.h"

#include <shader.h>

using namespace orca;

namespace {

/// The state's normal on the side that its ray comes from.
miVector facingNormal(const miState* state) {
    return dot(state->normal, state->dir) > 0.0f ? -1.0f * state->normal : state->normal;
}

SamplePlace placeOf(const double* samples) {
    return {static_cast<float>(samples[0]), static_cast<float>(samples[1])};
}

/// A point of a fresh sequence.
struct OwnSamples {
    double point[2];
    explicit OwnSamples(const miState* state) {
        render::renderContextOf(state).sampler.loop(point, nullptr, 2, nullptr);
    }
};

} // namespace

extern "C" {

DLLEXPORT void mi_reflection_dir(miVector* dir, miState* state) {
    *dir = mirrorDirection(state->dir, state->normal);
}

DLLEXPORT void mi_reflection_dir_specular(miVector* dir, miState* state) {
    mi_reflection_dir(dir, state);
}

DLLEXPORT miBoolean mi_reflection_dir_diffuse_x(miVector* dir, miState* state, double* samples) {
    *dir = cosineDirection(facingNormal(state), placeOf(samples));
    return miTRUE;
}

DLLEXPORT miBoolean mi_reflection_dir_diffuse(miVector* dir, miState* state) {
    return mi_reflection_dir_diffuse_x(dir, state, OwnSamples(state).point);
}

DLLEXPORT miBoolean mi_reflection_dir_glossy_x(miVector* dir, miState* state, miScalar shiny,
                                               double* samples) {
    *dir = glossyReflection(state->dir, facetsOf(facingNormal(state), shiny), placeOf(samples));
    return miTRUE;
}

DLLEXPORT miBoolean mi_reflection_dir_glossy(miVector* dir, miState* state, miScalar shiny) {
    return mi_reflection_dir_glossy_x(dir, state, shiny, OwnSamples(state).point);
}

DLLEXPORT miBoolean mi_reflection_dir_anisglossy_x(miVector* dir, miState* state, miVector* u, miVector* v,
                                                   miScalar shiny_u, miScalar shiny_v, double* samples) {
    *dir = glossyReflection(state->dir, facetsOf(facingNormal(state), *u, *v, shiny_u, shiny_v),
                            placeOf(samples));
    return miTRUE;
}

DLLEXPORT miBoolean mi_reflection_dir_anisglossy(miVector* dir, miState* state, miVector* u, miVector* v,
                                                 miScalar shiny_u, miScalar shiny_v) {
    return mi_reflection_dir_anisglossy_x(dir, state, u, v, shiny_u, shiny_v, OwnSamples(state).point);
}

DLLEXPORT miBoolean mi_refraction_dir(miVector* dir, miState* state, miScalar ior_in, miScalar ior_out) {
    return refract(state->dir, facingNormal(state), ior_in / ior_out, *dir);
}

DLLEXPORT miBoolean mi_transmission_dir_specular(miVector* dir, miState* state, miScalar ior_in,
                                                 miScalar ior_out) {
    return mi_refraction_dir(dir, state, ior_in, ior_out);
}

DLLEXPORT miBoolean mi_transmission_dir_diffuse_x(miVector* dir, miState* state, double* samples) {
    *dir = cosineDirection(-1.0f * facingNormal(state), placeOf(samples));
    return miTRUE;
}

DLLEXPORT miBoolean mi_transmission_dir_diffuse(miVector* dir, miState* state) {
    return mi_transmission_dir_diffuse_x(dir, state, OwnSamples(state).point);
}

DLLEXPORT miBoolean mi_transmission_dir_glossy_x(miVector* dir, miState* state, miScalar ior_in,
                                                 miScalar ior_out, miScalar shiny, double* samples) {
    return glossyRefraction(state->dir, facetsOf(facingNormal(state), shiny), ior_in / ior_out,
                            placeOf(samples), *dir);
}

DLLEXPORT miBoolean mi_transmission_dir_glossy(miVector* dir, miState* state, miScalar ior_in,
                                               miScalar ior_out, miScalar shiny) {
    return mi_transmission_dir_glossy_x(dir, state, ior_in, ior_out, shiny, OwnSamples(state).point);
}

DLLEXPORT miBoolean mi_transmission_dir_anisglossy_x(miVector* dir, miState* state, miScalar ior_in,
                                                     miScalar ior_out, miVector* u, miVector* v,
                                                     miScalar shiny_u, miScalar shiny_v, double* samples) {
    return glossyRefraction(state->dir, facetsOf(facingNormal(state), *u, *v, shiny_u, shiny_v),
                            ior_in / ior_out, placeOf(samples), *dir);
}

DLLEXPORT miBoolean mi_transmission_dir_anisglossy(miVector* dir, miState* state, miScalar ior_in,
                                                   miScalar ior_out, miVector* u, miVector* v,
                                                   miScalar shiny_u, miScalar shiny_v) {
    return mi_transmission_dir_anisglossy_x(dir, state, ior_in, ior_out, u, v, shiny_u, shiny_v,
                                            OwnSamples(state).point);
}

} // extern "C"
