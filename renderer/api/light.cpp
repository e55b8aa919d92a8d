// SPDX-License-Identifier: Apache-2.0
#include "api/guarded.h"
#include "render/light/light_lists.h"
#include "render/light/light_sampling.h"

#include <shader.h>

using orca::api::guardedCall;
using orca::render::AreaSampling;

extern "C" {

DLLEXPORT miBoolean mi_sample_light(miColor* result, miVector* direction, miScalar* dot_nl, miState* state,
                                    miTag light_instance, miInteger* samples) {
    return guardedCall(__func__, state, miFALSE, [&] {
        return orca::render::sampleLight(*result, *direction, *dot_nl, state, light_instance, *samples,
                                         AreaSampling::Full);
    });
}

DLLEXPORT miBoolean mi_trace_light(miColor* result, miVector* direction, miScalar* dot_nl, miState* state,
                                   miTag light_instance) {
    return guardedCall(__func__, state, miFALSE, [&] {
        miInteger samples = 0;
        return orca::render::sampleLight(*result, *direction, *dot_nl, state, light_instance, samples,
                                         AreaSampling::CentreOnly);
    });
}

DLLEXPORT miBoolean mi_instance_lightlist(int* count, miTag** lights, miState* state) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::instanceLights(*count, *lights, state); });
}

DLLEXPORT miBoolean mi_inclusive_lightlist(int* count, miTag** lights, miState* state) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::inclusiveLights(*count, *lights, state); });
}

DLLEXPORT miBoolean mi_exclusive_lightlist(int* count, miTag** lights, miState* state) {
    return guardedCall(__func__, state, miFALSE,
                       [&] { return orca::render::exclusiveLights(*count, *lights, state); });
}

DLLEXPORT miScalar mi_lightprofile_sample(miState* state, miTag profile, miBoolean interpolate) {
    return guardedCall(__func__, state, 0.0f,
                       [&] { return orca::render::sampleLightProfile(state, profile, interpolate); });
}

} // extern "C"
