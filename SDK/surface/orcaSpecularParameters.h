// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the materials with highlights append to SurfaceParameters, in declaration order: their highlight,
/// then their reflections.

#include "orcaSurfaceParameters.h"

struct PhongHighlight {
    miColor specularColor; // colour of highlights and reflections
    miScalar cosinePower;  // above 0; the larger, the smaller the highlight
};

struct PhongEHighlight {
    miColor specularColor;
    miScalar roughness;     // how bright the highlight stays towards its rim; 1: falls off linearly
    miScalar highlightSize; // 0 to 1: a point to a quarter of all directions
    miScalar whiteness;     // below 0.1 the highlight fades out
};

struct BlinnHighlight {
    miColor specularColor;
    miScalar eccentricity;    // 0 to 1: width of the highlight
    miScalar specularRollOff; // 0 to 1: reflectance head on; at grazing angles it is 1
};

struct AnisotropicHighlight {
    miColor specularColor;
    miScalar roughness;                // 0 to 1: width of the highlight where the spread is 1
    miScalar spreadX;                  // share of the roughness along the brushed direction
    miScalar spreadY;                  // and across it
    miScalar angle;                    // degrees from the texture's u direction to the brushed one
    miScalar fresnelIndex;             // refractive index that reflectance follows, from 1 on
    miBoolean anisotropicReflectivity; // reflections follow index and roughness; else `reflectivity`
};

struct ReflectionParameters {
    miScalar reflectivity;     // weight of the mirrored surroundings
    miColor reflectedColor;    // added to what is mirrored, before the reflectivity
    miInteger reflectionLimit; // reflection level from which on no more rays are reflected
    miScalar reflectionBlur; // radians; half angle of the cone that reflected rays fill, 0 for one sharp ray
    miInteger reflectionBlurSamples;
};

struct PhongParameters : SurfaceParameters, PhongHighlight, ReflectionParameters {};
struct PhongEParameters : SurfaceParameters, PhongEHighlight, ReflectionParameters {};
struct BlinnParameters : SurfaceParameters, BlinnHighlight, ReflectionParameters {};
struct AnisotropicParameters : SurfaceParameters, AnisotropicHighlight, ReflectionParameters {};

static_assert(sizeof(PhongParameters) == sizeof(SurfaceParameters) + 13 * 4);
static_assert(sizeof(PhongEParameters) == sizeof(SurfaceParameters) + 15 * 4);
static_assert(sizeof(BlinnParameters) == sizeof(SurfaceParameters) + 14 * 4);
static_assert(sizeof(AnisotropicParameters) == sizeof(SurfaceParameters) + 18 * 4);
