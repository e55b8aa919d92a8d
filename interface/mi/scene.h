// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "types.h"

/// Types of database elements (answer of `mi_db_type`).
typedef enum miScene_type {
    miSCENE_NONE = 0,
    miSCENE_STRING = 1,
    miSCENE_FUNCTION_DECL = 2,
    miSCENE_FUNCTION = 3,
    miSCENE_OPTIONS = 4,
    miSCENE_CAMERA = 5,
    miSCENE_MATERIAL = 6,
    miSCENE_OBJECT = 7,
    miSCENE_LIGHT = 8,
    miSCENE_GROUP = 9,
    miSCENE_INSTANCE = 10,
    miSCENE_TEXTURE = 11,
    miSCENE_LIGHTPROFILE = 12,
    miSCENE_FRAMEBUFFERS = 13,
    miSCENE_PHENOMENON_DECL = 14,
    miSCENE_OTHER = 15,
    miSCENE_USERDATA = 34
} miScene_type;

/// A shader instance: a declaration with parameter values. The ghost table is `ghost_offs` bytes behind the
/// parameters; a non-zero ghost word marks a connected parameter.
typedef struct miFunction {
    int type;
    miTag function_decl;
    miTag next_function; ///< next instance of the list
    miTag parameter_indirect;
    miTag interfacephen;
    int parameter_size; ///< bytes, arrays included
    int result_size;    ///< bytes
    int ghost_offs;     ///< bytes from a parameter to its ghost word; 0: nothing is connected
    miLock lock;
    void* ext;                       ///< the renderer's own
    __extension__ char parameters[]; ///< the parameter block
} miFunction;

/// Placement of an instance.
typedef struct miTransform {
    miTag function;
    miScalar time;
    miMatrix global_to_local; ///< world to object
    miMatrix local_to_global; ///< object to world
    miBoolean identity;
    int id;
} miTransform;

/// One element with its placement in the scene graph.
typedef struct miInstance {
    miTransform tf;
    miMatrix motion_transform; ///< world to object at the end of the unit shutter
    miTag item;                ///< the instanced element
    miTag material;
    miTag parent;
    miTag light_obj_ring;
    miTag userdata; ///< head of the chain
    miUint label;
    miBoolean off;
    miCBoolean motion;
    miCBoolean visible, shadow, trace;
    miCBoolean reflection, refraction, transparency, finalgather;
    miCBoolean face;
} miInstance;

/// What an object is made of (`miObject::type`).
enum {
    miOBJECT_EMPTY = 0,
    miOBJECT_POLYGONS = 1,
    miOBJECT_TRIANGLES = 2,
    miOBJECT_SUBDIVISION = 3,
    miOBJECT_FREEFORM = 4,
    miOBJECT_HAIR = 5
};

/// Geometry.
typedef struct miObject {
    int type; ///< one of miOBJECT_*: the first of them that the object has
    miTag userdata;
    miUint label;
    miCBoolean visible, shadow, trace;
    miCBoolean reflection, refraction, transparency, finalgather;
    miCBoolean face;
    miVector bbox_min, bbox_max; ///< object space
    miCBoolean shadow_mode;      ///< bit 0: casts shadows, bit 1: receives them
} miObject;

/// User data: a block of parameters that anything in the scene can carry, in a chain.
typedef struct miUserdata {
    miTag data_decl;
    miTag next_data;
    miUint label;
    int parameter_size;
    short one; ///< 1 in the byte order of the writer
    short spare;
    int spare2;
    __extension__ char parameters[]; ///< the parameter block
} miUserdata;

typedef struct miMaterial {
    miTag shader;
    miTag shadow;
    miTag volume;
    miTag environment;
    miTag displace;
    miTag contour;
    miTag photon;
    miTag photonvol;
    miTag lightmap;
    miCBoolean opaque;
    miTag userdata;
    miUint label;
} miMaterial;

/// Kind of a light's source and of its area.
enum { miLIGHT_ORIGIN = 0, miLIGHT_DIRECTION = 1, miLIGHT_SPOT = 2 };
enum {
    miLIGHT_NONE = 0,
    miLIGHT_RECTANGLE = 1,
    miLIGHT_DISC = 2,
    miLIGHT_SPHERE = 3,
    miLIGHT_CYLINDER = 4,
    miLIGHT_OBJECT = 5,
    miLIGHT_USER = 6
};

/// A light. Positions, directions and the area's shape are in light space.
typedef struct miLight {
    int type; ///< miLIGHT_ORIGIN, _DIRECTION or _SPOT
    int area; ///< miLIGHT_NONE ...
    miTag shader;
    miTag emitter;
    miVector origin;
    miVector direction; ///< unit, from the light outward
    miScalar spread;    ///< cosine of the cone's half angle
    miCBoolean visible;
    miVector edge_u, edge_v; ///< rectangle
    miVector axis;           ///< disc normal, cylinder axis
    miScalar radius;         ///< disc, sphere, cylinder
    int samples_u, samples_v;
    int low_level; ///< trace level from which the low counts hold
    int low_samples_u, low_samples_v;
    miColor energy;
    miScalar exponent;
    miCBoolean use_shadow_maps;
    int shadowmap_resolution, shadowmap_samples;
    miScalar shadowmap_softness, shadowmap_bias;
    miTag lightprofile;
    miTag userdata;
    miUint label;
} miLight;
