// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// One sample of a light. Call in a loop with `*samples` 0 before it; true while a sample was delivered.
/// Gives the colour after shadows, the unit direction from the point to the light, and its cosine with the
/// state's normal (negative for light from behind, which is delivered too).
miBoolean mi_sample_light(miColor* result, miVector* direction, miScalar* dot_nl, miState* state,
                          miTag light_instance, miInteger* samples);
/// As above without area sampling.
miBoolean mi_trace_light(miColor* result, miVector* direction, miScalar* dot_nl, miState* state,
                         miTag light_instance);
/// Light instances that illuminate the hit instance. The array belongs to the renderer.
miBoolean mi_instance_lightlist(int* count, miTag** lights, miState* state);
/// The lights of a parameter list, groups expanded, and all lights but those.
miBoolean mi_inclusive_lightlist(int* count, miTag** lights, miState* state);
miBoolean mi_exclusive_lightlist(int* count, miTag** lights, miState* state);

/// Relative intensity of a light profile toward the shaded point; 1 for no profile. `interpolate` false takes
/// the nearest table entry.
miScalar mi_lightprofile_sample(miState* state, miTag profile, miBoolean interpolate);

miEND_INTERFACE
