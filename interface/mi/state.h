// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "types.h"

struct miCamera;
struct miOptions;
struct miFunction;

/// Why a ray was cast (`miState::type`).
typedef enum miRay_type {
    miRAY_EYE = 0,
    miRAY_TRANSPARENT = 1,
    miRAY_REFLECT = 2,
    miRAY_REFRACT = 3,
    miRAY_LIGHT = 4,
    miRAY_SHADOW = 5,
    miRAY_ENVIRONMENT = 6,
    miRAY_NONE = 7,
    miRAY_PROBE = 8,
    miRAY_LIGHTMAP = 9,
    miRAY_DISPLACE = 10,
    miRAY_OUTPUT = 11,
    miRAY_OCCLUSION = 12,
    miRAY_FINALGATHER = 20,
    miRAY_LARGEST = 0x7fff ///< no ray; makes the types that other renderers have values of this type
} miRay_type;

/// Rays that start a call tree.
#define miRAY_PRIMARY(type) ((type) == miRAY_EYE)
/// Rays that see surfaces on behalf of another surface.
#define miRAY_SECONDARY(type)                                                                                \
    ((type) == miRAY_TRANSPARENT || (type) == miRAY_REFLECT || (type) == miRAY_REFRACT ||                    \
     (type) == miRAY_FINALGATHER)

/// How a shader is being called (argument of `mi_call_shader`, answer of `miQ_FUNC_CALLTYPE`).
typedef enum miShader_type {
    miSHADER_NONE = 0,
    miSHADER_LENS = 1,
    miSHADER_LIGHT = 2,
    miSHADER_SHADOW = 3,
    miSHADER_ENVIRONMENT = 4,
    miSHADER_VOLUME = 5,
    miSHADER_TEXTURE = 6,
    miSHADER_DISPLACE = 7,
    miSHADER_OUTPUT = 8,
    miSHADER_PHOTON = 9,
    miSHADER_PHOTONVOL = 10,
    miSHADER_LIGHTEMIT = 11,
    miSHADER_MATERIAL = 12,
    miSHADER_GEOMETRY = 13,
    miSHADER_LIGHTMAP = 14,
    miSHADER_STATE = 15,
    miSHADER_CONTOUR = 16
} miShader_type;

/// Everything one shader call knows. Owned by one thread. Directions are unit length; the ray direction
/// points at the surface, normals point toward the ray's origin unless a shadow shader is being called.
typedef struct miState {
    // frame: constant while a picture is rendered
    int version;
    miTag camera_inst;
    struct miCamera* camera; ///< read only for shaders, as the options
    struct miOptions* options;

    // image sample: inherited unchanged by all secondary calls
    miScalar raster_x, raster_y; ///< pixels, (0, 0) at the image's lower left corner
    struct miFunction* shader;   ///< the shader instance now running
    miLock global_lock;
    short thread;

    // ray
    struct miState* parent;
    struct miState* child; ///< most recent child; readable until the next call that makes one
    miRay_type type;
    miCBoolean scanline; ///< the hit comes from the first-hit algorithm
    void* cache;
    miVector org, dir;
    float time;   ///< shutter time, frames
    miTag volume; ///< volume shader of the space the ray travels through
    miTag environment;
    int reflection_level, refraction_level;
    int face;

    // intersection
    miTag refraction_volume;
    miUint label;
    miTag instance; ///< instance of the hit object; 0 when nothing was hit
    miTag light_instance;
    miScalar bary[4];
    miVector point;
    miVector normal;
    miVector normal_geom;
    miCBoolean inv_normal; ///< the renderer flipped both normals
    miScalar dot_nd;
    double dist; ///< length of the ray; 0 for none
    miTag material;
    void* pri;
    miGeoIndex pri_idx; ///< of the triangle, or of the hair, in its object
    double shadow_tol;
    miScalar ior, ior_in;
    miScalar importance;

    // texture, motion, derivatives
    miVector* tex_list;
    miVector* bump_x_list;
    miVector* bump_y_list;
    miVector tex;
    miVector motion;    ///< displacement of the point over the shutter, internal space
    miVector derivs[5]; ///< dP/du, dP/dv, then second derivatives by u, v and both; null where unknown

    // user
    void* user;
    int user_size;

    miCBoolean rast_compose;            ///< this sample is one of several that the rasterizer composites
    miUint hit_instance, hit_triangle;  ///< the renderer's own: what was hit
    double ray_offset;                  ///< the renderer's own: set by `mi_ray_offset`, as the two below
    double falloff_start, falloff_stop; ///< by `mi_ray_falloff`
    void* ext;                          ///< the renderer's own
} miState;

/// Fourth argument of a state shader.
typedef struct miShader_state_arg {
    int op;              ///< one of miSHADERSTATE_*
    miBoolean ret_value; ///< SAMPLE_EXIT: what the sample's shading returned
} miShader_state_arg;

enum {
    miSHADERSTATE_STATE_INIT = 0,
    miSHADERSTATE_STATE_EXIT = 1,
    miSHADERSTATE_SAMPLE_INIT = 2,
    miSHADERSTATE_SAMPLE_EXIT = 3
};
