// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Basic types of the shader interface. Sizes are part of the interface: parameter blocks, frame buffers and
/// result records are laid out with them.

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define miBEGIN_INTERFACE extern "C" {
#define miEND_INTERFACE }
#else
#define miBEGIN_INTERFACE
#define miEND_INTERFACE
#endif

/// Marks a symbol that the renderer looks up by name in a shader library.
#define DLLEXPORT __attribute__((visibility("default")))

/// Version of the interface, the value of `miState::version`.
#define miSHADER_INTERFACE_VERSION 4

typedef int miBoolean; ///< any non-zero value is true
#define miFALSE 0
#define miTRUE 1
typedef unsigned char miCBoolean;

typedef int miInteger;
typedef unsigned int miUint;
typedef unsigned char miUint1;
typedef unsigned short miUint2;
typedef unsigned short miUshort;
typedef unsigned int miUint4;
typedef signed char miSint1;
typedef short miSint2;
typedef float miScalar;
typedef double miDouble;
typedef unsigned long miUlong;
typedef double miGeoScalar; ///< of geometry; another type than `miScalar`, so that functions may have both
typedef miUint miGeoIndex;

/// As far as infinity for comparisons; sums and multiples of it stay finite.
#define miHUGE_SCALAR ((miScalar)1.0e36)
/// What rounding may make of 0 in a few steps, for numbers about 1.
#define miSCALAR_EPSILON ((miScalar)1.0e-5)
#define miGEO_SCALAR_EPSILON ((miGeoScalar)1.0e-13)

/// Handle of a database element, valid on every thread.
typedef miUint miTag;
#define miNULLTAG 0u

/// Linear colour. Alpha is coverage where the colour is a picture, and 0 where a scene file leaves it out.
typedef struct miColor {
    miScalar r, g, b, a;
} miColor;

typedef struct miVector {
    miScalar x, y, z;
} miVector;

/// A vector in double precision.
typedef struct miGeoVector {
    miGeoScalar x, y, z;
} miGeoVector;

typedef struct miVector2d {
    miScalar u, v;
} miVector2d;

/// Row-major 4 x 4 matrix; element (i, j) at index 4 i + j.
typedef miScalar miMatrix[16];

typedef struct miRange {
    miScalar min, max;
} miRange;

/// Opaque lock, passed by value.
typedef struct miLockRecord* miLock;

typedef void* miPointer;

/// Block arena of the renderer's allocator.
typedef struct miMemblk miMemblk;

/// Data types of frame buffers.
typedef enum miImg_type {
    miIMG_TYPE_INVALID = 0,
    miIMG_TYPE_RGBA,
    miIMG_TYPE_RGBA_16,
    miIMG_TYPE_RGBA_H,
    miIMG_TYPE_RGBA_FP,
    miIMG_TYPE_RGB,
    miIMG_TYPE_RGB_16,
    miIMG_TYPE_RGB_H,
    miIMG_TYPE_RGB_FP,
    miIMG_TYPE_RGBE,
    miIMG_TYPE_A,
    miIMG_TYPE_A_16,
    miIMG_TYPE_A_H,
    miIMG_TYPE_A_FP,
    miIMG_TYPE_S,
    miIMG_TYPE_S_16,
    miIMG_TYPE_S_FP,
    miIMG_TYPE_Z,
    miIMG_TYPE_N,
    miIMG_TYPE_M,
    miIMG_TYPE_TAG,
    miIMG_TYPE_COVERAGE
} miImg_type;

/// Types of shader parameters and results.
typedef enum miParam_type {
    miTYPE_BOOLEAN = 0,
    miTYPE_INTEGER,
    miTYPE_SCALAR,
    miTYPE_STRING,
    miTYPE_COLOR,
    miTYPE_VECTOR,
    miTYPE_TRANSFORM,
    miTYPE_SHADER,
    miTYPE_COLOR_TEXTURE,
    miTYPE_SCALAR_TEXTURE,
    miTYPE_VECTOR_TEXTURE,
    miTYPE_TEXTURE,
    miTYPE_LIGHT,
    miTYPE_MATERIAL,
    miTYPE_GEOMETRY,
    miTYPE_LIGHTPROFILE,
    miTYPE_DATA,
    miTYPE_SPECTRUM,
    miTYPE_STRUCT,
    miTYPE_ARRAY
} miParam_type;
