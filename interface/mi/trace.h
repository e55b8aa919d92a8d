// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// All of these derive a child state from `state`, trace, call shaders and return true when a called shader
/// did. Points and directions are in internal space, directions unit length.

/// Lens shaders only: calls the next lens shader, or casts the eye ray. `origin` and `direction` may point at
/// the state's own fields. Copies label, point, normal, dist, motion and instance of the hit back into
/// `state`.
miBoolean mi_trace_eye(miColor* result, miState* state, miVector* origin, miVector* direction);
/// False, nothing called and `result` untouched, at the depth limits.
miBoolean mi_trace_reflection(miColor* result, miState* state, miVector* direction);
miBoolean mi_trace_refraction(miColor* result, miState* state, miVector* direction);
/// Straight on through the surface, as a refraction level.
miBoolean mi_trace_transparent(miColor* result, miState* state);
/// Straight on as if the surface had not been hit: ray type and levels stay.
miBoolean mi_trace_continue(miColor* result, miState* state);
/// Environment for a direction, without an intersection test.
miBoolean mi_trace_environment(miColor* result, miState* state, miVector* direction);
/// Intersection only; the hit is left in `state->child`.
miBoolean mi_trace_probe(miState* state, miVector* direction, miVector* origin);

/// Reflection, refraction, transparency and probe rays cast from this state then begin `*offset` scene units
/// from its point, along their direction; 0, as at first: at the point. Returns the offset before in
/// `*offset`, so that a second call puts it back.
void mi_ray_offset(miState* state, double* offset);
/// Reflection, refraction and transparency rays cast from this state then fade from what they hit into the
/// environment over the distances `*start` to `*stop` from its point, and hit nothing beyond `*stop`; 0 and
/// 0, as at first: they reach any distance. Returns the distances before, as `mi_ray_offset` does.
void mi_ray_falloff(const miState* state, double* start, double* stop);

/// Light shaders: dims `result` (in/out) by every occluder between the light and the point, which are read
/// from the state's `org`, `point` and `dir` at the call. False when an occluder blocks all light.
miBoolean mi_trace_shadow(miColor* result, miState* state);
/// Shadow shaders in segment mode: the light that arrives from beyond this occluder.
miBoolean mi_trace_shadow_seg(miColor* result, miState* state);

/// Settings of one gather; -1 or 0 where the option's own value shall hold.
typedef struct miIrrad_options {
    int size;
    int finalgather_rays;
    miScalar finalgather_maxradius;
    miScalar finalgather_minradius;
    miCBoolean finalgather_view;
    miUint1 finalgather_filter;
    int globillum_accuracy;
    miScalar globillum_radius;
    int caustic_accuracy;
    miScalar caustic_radius;
} miIrrad_options;

/// Average incoming radiance (irradiance / pi) over the hemisphere of `face`: 'f' the side of the normal, 'b'
/// the other. `options` null takes the render options. False and black when nothing is gathered.
miBoolean mi_compute_avg_radiance(miColor* result, miState* state, miUint1 face,
                                  struct miIrrad_options* options);
miBoolean mi_compute_irradiance(miColor* result, miState* state);
miBoolean mi_compute_irradiance_backside(miColor* result, miState* state);

/// Request for ambient occlusion. Negative values take the renderer's defaults.
typedef struct miAo_options {
    int size;
    int rays;           ///< default 64
    miVector axis;      ///< axis of the hemisphere, any length
    miScalar spread;    ///< cosine of the half angle of the cone of rays; default 0, the hemisphere
    miScalar scale;     ///< of the occlusion, which stays at most 1; default 1
    miScalar near_dist; ///< scene units; nearer surfaces do not count; default 0
    miScalar max_dist;  ///< scene units; nor do further ones; default unlimited
    int mode;           ///< one of miAO_*; default miAO_PLAIN
} miAo_options;

enum {
    miAO_PLAIN = 0, ///< everything in range covers alike
    miAO_FADING = 1 ///< what is further off covers less, down to nothing at max_dist
};

/// Occlusion: 0 open, 1 closed. May change the state's `dir` and `normal`.
miBoolean mi_ambient_occlusion(miScalar* result, miState* state, struct miAo_options* options);

miEND_INTERFACE
