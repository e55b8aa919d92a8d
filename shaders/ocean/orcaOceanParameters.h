// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaRamp.h"
#include "orcaSurfaceParameters.h"
#include "orcaSurfaceShaderReturnType.h"

/// What the ocean material appends to SurfaceParameters, in declaration order: its waves and foam, then its
/// optics.

struct OceanWaveParameters {
    miScalar timeValue;     // seconds
    miScalar patternScale;  // pattern units per world unit
    miVector windVector;    // x and y: where the wind blows from, along world x and z
    miScalar driftFactor;   // how far the longest waves carry the pattern along, as a share of their travel
    miScalar spreadFactor;  // 0: all waves run along the wind; 1: in random directions
    miScalar octaveCount;   // frequencies; a fraction is the weight of the last one
    miScalar minWavelength; // pattern units
    miScalar maxWavelength; // pattern units
    int i_heightRamp;       // the ramps are over the wavelengths, from the shortest at 0 to the longest at 1
    int n_heightRamp;
    RampScalarEntry heightRamp[1];
    int i_turbulenceRamp; // 0 one plain wave, 1 a group of turbulent ones
    int n_turbulenceRamp;
    RampScalarEntry turbulenceRamp[1];
    int i_peakingRamp; // how far turbulent crests are pinched
    int n_peakingRamp;
    RampScalarEntry peakingRamp[1];
    miScalar heightInput; // world units, added; connected: its slopes bend the normal, too
    miScalar foamRate;    // how fast foam covers crests above the threshold; 0: no foam
    miScalar foamCutoff;  // 1 less the height of crests from which on they foam; 0 to 1
    miScalar foamBias;    // added to the foam
    miScalar normalBlur;  // widens the distance over which slopes are taken, in shortest wavelengths
    miScalar speedScale;  // of the time
    miScalar filterScale; // of the size that a pixel covers
};

struct OceanShadingParameters {
    miBoolean displaced;        // the geometry is displaced already: normals are computed, not bent
    miColor foamColor;          // diffuse reflectance of foam, before `diffuse`
    miScalar crestScatter;      // strength of the light through crests, coloured by `scatterColor`
    miScalar crestSoftness;     // 0 to 1: how much of it keeps its direction
    miScalar crestHeight;       // world units; wave height from which on crests transmit light
    miScalar crestRange;        // world units; height over which it reaches its strength
    miColor specularColor;      // of highlights
    miScalar specularStrength;  // of highlights
    miScalar eccentricity;      // 0 to 1: width of highlights
    miScalar specularReduction; // of highlights along eye rays
    miColor reflectionColor;    // of reflections
    miScalar reflectivity;      // times the Fresnel term of `refractiveIndex`
    int i_environmentRamp;      // reflected besides the surroundings: straight down at 0, up at 1
    int n_environmentRamp;
    RampColorEntry environmentRamp[1];
    miInteger reflectionLimit;       // reflection level from which on no more rays are reflected
    miScalar reflectionBlur;         // radians; half angle of the cone that reflected rays fill
    miInteger reflectionBlurSamples; // rays of the cone
    miColor absorptionColor; // transmittance of the water per 1 / `lightAbsorbance` scene units of travel
};

/// Parameters of orcaVelaOceanShader. The water's own colour is `color`.
struct OceanShaderParameters : SurfaceParameters, OceanWaveParameters, OceanShadingParameters {};
static_assert(sizeof(OceanShaderParameters) ==
              sizeof(SurfaceParameters) + sizeof(OceanWaveParameters) + sizeof(OceanShadingParameters));

/// Result of the ocean material: the picture and its parts, and the waves.
struct OceanShaderReturnType : SurfaceShaderReturnType {
    miScalar displacement; ///< height of the waves, world units; the only field that displacement calls set
    miScalar foam;         ///< 0: bare water; from about 1 on: all foam
};
static_assert(sizeof(OceanShaderReturnType) == sizeof(SurfaceShaderReturnType) + 8);
