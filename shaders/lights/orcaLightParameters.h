// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Runs of parameters that the records of several lights have in common.

#include <shader.h>

/// What a light sends, and its ray-traced shadows.
struct LightColorParameters {
    miColor color;
    miScalar intensity;
    miBoolean useRayTraceShadows;
    miColor shadowColor;     // light in full shadow
    miInteger shadowRays;    // of the first set of a soft shadow; 0: no ray-traced shadows
    miInteger rayDepthLimit; // trace level from which on no shadows are traced
};

/// Switches of light that comes from a direction.
struct LightSwitches {
    miBoolean useDepthMapShadows;
    miBoolean emitDiffuse;
    miBoolean emitSpecular;
};

struct LightParameters : LightSwitches, LightColorParameters {};

struct LightUnitParameters {
    miInteger units;           // LightUnits; which of them a light has is its own
    miScalar colorTemperature; // kelvin; 0: the colour alone
};

/// A light with a place that falls off with the distance.
struct DecayParameters {
    miScalar lightRadius; // scene units; 0: hard shadows
    miInteger decayRate;  // exponent of the fall-off with distance: 0 to 3
};

/// Distant light.
struct LightAngleParameter {
    miScalar lightAngle; // degrees; 0: hard shadows
};
