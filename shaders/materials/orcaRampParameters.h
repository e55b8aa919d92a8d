// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaRamp.h"
#include "orcaSpecularParameters.h"

/// What the position on a ramp is measured by, 0 to 1.
enum RampMeasure : miInteger {
    MEASURE_LIGHT_ANGLE = 0,  ///< cosine of the light's angle
    MEASURE_FACING_ANGLE = 1, ///< cosine of the view's angle: 0 at the outline
    MEASURE_BRIGHTNESS = 2,   ///< luminance of the light that a matte surface reflects
    MEASURE_RELATIVE = 3,     ///< the same over what it would be facing all lights, without shadows
};

enum RampSpecularShape : miInteger { RAMP_FACETS = 0, RAMP_ROUND = 1 };

/// What the ramp material appends to SurfaceParameters. A ramp with entries takes the place of the plain
/// parameter of its name. The inputs are RampMeasures.
struct RampParameters {
    miInteger colorInput;
    int i_colorRamp; // diffuse reflectance; by light angle or brightness: the shaded colour itself
    int n_colorRamp;
    RampColorEntry colorRamp[1];
    miInteger transparencyInput;
    int i_transparencyRamp;
    int n_transparencyRamp;
    RampColorEntry transparencyRamp[1];
    miInteger incandescenceInput;
    int i_incandescenceRamp;
    int n_incandescenceRamp;
    RampColorEntry incandescenceRamp[1];
    miInteger specularShape; // a RampSpecularShape
    miScalar specularity;    // weight of the highlights
    miColor specularColor;
    miScalar eccentricity;    // 0 to 1: width of the highlight
    miScalar specularRollOff; // facets: 0 to 1, reflectance head on; round: brightness toward the rim
    miInteger specularInput;  // of the colour; brightness: that of the highlight
    int i_specularColorRamp;
    int n_specularColorRamp;
    RampColorEntry specularColorRamp[1];
    miInteger specularShapeInput; // of the two below
    int i_eccentricityRamp;
    int n_eccentricityRamp;
    RampScalarEntry eccentricityRamp[1];
    int i_specularRollOffRamp;
    int n_specularRollOffRamp;
    RampScalarEntry specularRollOffRamp[1];
    miColor reflectionColor; // of what is mirrored
    miInteger reflectivityInput;
    int i_reflectivityRamp;
    int n_reflectivityRamp;
    RampScalarEntry reflectivityRamp[1];
    int i_environmentRamp; // mirrored besides the surroundings: straight down at 0, up at 1
    int n_environmentRamp;
    RampColorEntry environmentRamp[1];
};
static_assert(sizeof(RampParameters) == 73 * 4);

/// Parameters of orcaVelaRampShader, in declaration order.
struct RampShaderParameters : SurfaceParameters, RampParameters, ReflectionParameters {};
