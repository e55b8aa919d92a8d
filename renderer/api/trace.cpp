// SPDX-License-Identifier: Apache-2.0
#include "api/guarded.h"
#include "render/camera/eye_ray.h"
#include "render/gather/gather.h"
#include "render/gather/occlusion.h"
#include "render/light/shadows.h"
#include "render/trace/secondary_rays.h"

#include <shader.h>

#include <utility>

using orca::api::guardedCall;

extern "C" {

DLLEXPORT miBoolean mi_trace_eye(miColor* result, miState* state, miVector* origin, miVector* direction) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::traceEye(*result, state, *origin, *direction); });
}

DLLEXPORT miBoolean mi_trace_reflection(miColor* result, miState* state, miVector* direction) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::traceReflection(*result, state, *direction); });
}

DLLEXPORT miBoolean mi_trace_refraction(miColor* result, miState* state, miVector* direction) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::traceRefraction(*result, state, *direction); });
}

DLLEXPORT miBoolean mi_trace_transparent(miColor* result, miState* state) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::traceTransparent(*result, state); });
}

DLLEXPORT miBoolean mi_trace_continue(miColor* result, miState* state) {
    return guardedCall(__func__, state, miFALSE, [&] { return orca::render::traceContinue(*result, state); });
}

DLLEXPORT miBoolean mi_trace_environment(miColor* result, miState* state, miVector* direction) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::traceEnvironment(*result, state, *direction); });
}

DLLEXPORT miBoolean mi_trace_probe(miState* state, miVector* direction, miVector* origin) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::traceProbe(state, *direction, *origin); });
}

DLLEXPORT void mi_ray_offset(miState* state, double* offset) {
    std::swap(state->ray_offset, *offset);
    // Also false for what is no number.
    if (!(state->ray_offset > 0.0)) state->ray_offset = 0.0;
}

DLLEXPORT void mi_ray_falloff(const miState* state, double* start, double* stop) {
    auto* const changed = const_cast<miState*>(state);
    std::swap(changed->falloff_start, *start);
    std::swap(changed->falloff_stop, *stop);
}

DLLEXPORT miBoolean mi_trace_shadow(miColor* result, miState* state) {
    return guardedCall(__func__, state, miFALSE, [&] { return orca::render::traceShadow(*result, state); });
}

DLLEXPORT miBoolean mi_trace_shadow_seg(miColor* result, miState* state) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::traceShadowSegment(*result, state); });
}

DLLEXPORT miBoolean mi_compute_avg_radiance(miColor* result, miState* state, miUint1 face,
                                            struct miIrrad_options* options) {
    return guardedCall(__func__, state, miFALSE, [&] {
        return orca::render::averageRadiance(*result, state, static_cast<char>(face), options);
    });
}

DLLEXPORT miBoolean mi_compute_irradiance(miColor* result, miState* state) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::irradiance(*result, state, 'f'); });
}

DLLEXPORT miBoolean mi_compute_irradiance_backside(miColor* result, miState* state) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::irradiance(*result, state, 'b'); });
}

DLLEXPORT miBoolean mi_ambient_occlusion(miScalar* result, miState* state, struct miAo_options* options) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::ambientOcclusion(*result, state, options); });
}

} // extern "C"
