// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

/// Questions that `mi_query` answers. `result` points at a variable of the type given; where a code takes a
/// tag and a state, the tag wins unless it is null.
typedef enum miQ_type {
    miQ_INST_ITEM = 7,            ///< instance: miTag
    miQ_DATA_PARAM = 12,          ///< user data: char*, address of the block; nothing is pinned
    miQ_LIGHT_AREA = 24,          ///< light: int
    miQ_LIGHT_AREA_R_EDGE_U = 33, ///< light: miVector
    miQ_LIGHT_AREA_R_EDGE_V = 34, ///< light: miVector
    miQ_LIGHT_AREA_D_NORMAL = 35, ///< light: miVector
    miQ_FUNC_USERPTR = 51,        ///< state or function: void**, address of the instance's user pointer
    miQ_FUNC_CALLTYPE = 140,      ///< state: int, how the running shader is called
    miQ_FINALGATHER_STATE = 142,  ///< state: int, 0 outside gather rays and their descendants
    miQ_SAMPLE_MOVING = 158,      ///< state: int, 0 when nothing moves in this sample
    miQ_SAMPLE_PHASE = 161, ///< state: int, 1 image samples, 2 gather, 3 other preprocessing, 4 occlusion

    miQ_DATA_DECL = 200,         ///< user data: miTag
    miQ_DATA_LABEL,              ///< user data: miUint
    miQ_DATA_NEEDSWAP,           ///< user data: miBoolean
    miQ_DATA_NEXT,               ///< user data: miTag
    miQ_DATA_PARAM_SIZE,         ///< user data: int
    miQ_DATE,                    ///< char*
    miQ_VERSION,                 ///< char*
    miQ_DECL_LOCK,               ///< state, function or declaration: miLock*
    miQ_DECL_NAME,               ///< char*
    miQ_DECL_RESULT_SIZE,        ///< int, bytes
    miQ_DECL_TYPE,               ///< int, miParam_type of the result
    miQ_DECL_VERSION,            ///< int
    miQ_FUNC_DECL,               ///< state or function: miTag
    miQ_FUNC_INDIRECT,           ///< miTag
    miQ_FUNC_LOCK,               ///< miLock*
    miQ_FUNC_NEXT,               ///< miTag
    miQ_FUNC_PARAM,              ///< void*
    miQ_FUNC_PARAM_SIZE,         ///< int
    miQ_FUNC_RESULT_SIZE,        ///< int
    miQ_FUNC_TAG,                ///< state: miTag
    miQ_FUNC_TLS_GET,            ///< state: void*, this thread's pointer of the instance
    miQ_FUNC_TLS_SET,            ///< state: takes void**
    miQ_INST_LABEL,              ///< miUint
    miQ_INST_MATERIAL,           ///< miTag
    miQ_INST_DATA,               ///< miTag
    miQ_INST_GLOBAL_TO_LOCAL,    ///< miMatrix
    miQ_INST_LOCAL_TO_GLOBAL,    ///< miMatrix
    miQ_INST_HIDE,               ///< miBoolean
    miQ_LIGHT_TYPE,              ///< int
    miQ_LIGHT_ORIGIN,            ///< miVector
    miQ_LIGHT_DIRECTION,         ///< miVector
    miQ_LIGHT_SPREAD,            ///< miScalar
    miQ_LIGHT_SHADER,            ///< miTag
    miQ_LIGHT_EMITTER,           ///< miTag
    miQ_LIGHT_ENERGY,            ///< miColor
    miQ_LIGHT_EXPONENT,          ///< miScalar
    miQ_LIGHT_LABEL,             ///< miUint
    miQ_LIGHT_AREA_S_RADIUS,     ///< miScalar
    miQ_LIGHT_AREA_C_AXIS,       ///< miVector
    miQ_LIGHT_AREA_C_RADIUS,     ///< miScalar
    miQ_LIGHT_AREA_D_RADIUS,     ///< miScalar
    miQ_LIGHT_AREA_SAMPLES_U,    ///< int
    miQ_LIGHT_AREA_SAMPLES_V,    ///< int
    miQ_NUM_GLOBAL_LIGHTS,       ///< int
    miQ_GLOBAL_LIGHTS,           ///< miTag*
    miQ_NUM_TEXTURES,            ///< state: int, entries of tex_list
    miQ_NUM_BUMPS,               ///< state: int
    miQ_GEO_LABEL,               ///< state or object: miUint
    miQ_GEO_NAME,                ///< char*
    miQ_GEO_DATA,                ///< miTag
    miQ_TRANS_INTERNAL_TO_WORLD, ///< state: miMatrix, as the five below
    miQ_TRANS_WORLD_TO_INTERNAL,
    miQ_TRANS_INTERNAL_TO_CAMERA,
    miQ_TRANS_CAMERA_TO_INTERNAL,
    miQ_TRANS_INTERNAL_TO_OBJECT,
    miQ_TRANS_OBJECT_TO_INTERNAL,
    // In the shader of a light with the shape of an object.
    miQ_EMITTER_NORMAL, ///< state: miVector, the object's geometric normal where the sample begins, unit
    miQ_EMITTER_AREA,   ///< state: miScalar, square scene units of the object's whole surface

    miQ_DECL_PARAM,      ///< char*, the declared parameters as a scene file has them, without their defaults
    miQ_FUNC_TLS_GETALL, ///< state: void**, the pointers of all threads that have set one; a fifth argument,
                         ///< int*, takes their number. Valid until the same thread's next such query
    miQ_GEO_TYPE,        ///< state or object: int, one of miOBJECT_*
    miQ_RENDER_STAGE,    ///< state: int, one of miSTAGE_*
    // From one space to another: state, miMatrix, as miQ_TRANS_INTERNAL_TO_WORLD.
    miQ_TRANS_INTERNAL_TO_LIGHT,
    miQ_TRANS_LIGHT_TO_INTERNAL,
    miQ_TRANS_WORLD_TO_CAMERA,
    miQ_TRANS_WORLD_TO_OBJECT,
    miQ_TRANS_WORLD_TO_LIGHT,
    miQ_TRANS_CAMERA_TO_WORLD,
    miQ_TRANS_CAMERA_TO_OBJECT,
    miQ_TRANS_CAMERA_TO_LIGHT,
    miQ_TRANS_OBJECT_TO_WORLD,
    miQ_TRANS_OBJECT_TO_CAMERA,
    miQ_TRANS_OBJECT_TO_LIGHT,
    miQ_TRANS_LIGHT_TO_WORLD,
    miQ_TRANS_LIGHT_TO_CAMERA,
    miQ_TRANS_LIGHT_TO_OBJECT,

    miQ_DECL_RESULT, ///< char*, the members of a declared struct result as a scene file has them; else empty
    // For shaders that loop over lights, where the options have some chosen among many.
    miQ_LIGHT_WEIGHTS, ///< state: const miScalar*, by which the last list's samples are multiplied; null: 1
    miQ_WHOLE_LIGHT_LISTS ///< state: takes miBoolean*, unread; the running shader's lists are whole from now
                          ///< on
} miQ_type;

/// What the renderer is doing (answer of `miQ_RENDER_STAGE`).
enum {
    miSTAGE_OTHER = 0,    ///< exits of shaders
    miSTAGE_DISPLACE = 1, ///< displacement
    miSTAGE_GATHER = 2,   ///< the prepass of indirect light
    miSTAGE_RENDER = 3,   ///< samples of the picture
    miSTAGE_OUTPUT = 4    ///< output shaders
};

miBEGIN_INTERFACE

/// False when the answer is not available; `result` is untouched then. Only `miQ_FUNC_TLS_GETALL` takes a
/// fifth argument.
miBoolean mi_query(miQ_type query, miState* state, miTag tag, void* result, ...);

miEND_INTERFACE
