// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaRamp.h"

#include <shader.h>

/// What the materials of fibres begin with, in declaration order.
struct FibreParameters {
    miInteger passWriteMode;  // see PassWriteMode
    miInteger passWriteFlags; // bit 0: scale what is written by passWriteScale
    miScalar passWriteScale;
    miColor color;             // at the root
    miColor transparency;      // transmittance per channel, 0 to 1
    miBoolean writePasses;     // the component passes are written
    miScalar compositeScalarA; // share of the shaded colour that glows
    miScalar throughputBoost;  // above 1: factor on the throughput of the path
    miScalar diffuse;          // share of the light that is scattered all around
    miScalar translucence;     // share that is scattered away from the light
    miColor ambientColor;
    miColor incandescence;
    miScalar shadowDensity;      // 0 to 1: share of the opacity that shadows have
    miBoolean shadowTransmitAll; // the fibre casts no shadow
    miColor irradianceColor;     // weight of the indirect light
    miColor irradiance;          // connected: the indirect light itself
    miInteger seed;              // of what differs from fibre to fibre
};
static_assert(sizeof(FibreParameters) == 35 * 4);

/// How orcaVelaHairShader scatters light.
enum HairModel : miInteger { HAIR_CLASSIC = 0, HAIR_PHYSICAL = 1 };
enum HairPigment : miInteger { PIGMENT_COLOR = 0, PIGMENT_MELANIN = 1 };

/// Parameters of orcaVelaHairShader, in declaration order.
struct HairParameters : FibreParameters {
    miInteger model; // a HairModel
    int i_colorRamp; // multiplies `color`, from the root at 0 to the tip at 1
    int n_colorRamp;
    RampColorEntry colorRamp[1];
    int i_opacityRamp; // multiplies the opacity, from the root at 0 to the tip at 1
    int n_opacityRamp;
    RampScalarEntry opacityRamp[1];
    miScalar tipThickness; // 0 to 1: share of the hair's width that is covered at its tip; at the root all is
    miScalar hueVariation; // 0 to 1: of the colour circle, from hair to hair
    miScalar saturationVariation; // 0 to 1
    miScalar valueVariation;      // 0 to 1; of the amount of melanin with that pigment
    miColor primaryColor;         // classic: strength of the first highlight
    miScalar primaryPower;        // above 0; the larger, the narrower
    miScalar primaryShift;        // degrees toward the root
    miColor secondaryColor;       // classic: of the second highlight, which takes the hair's colour too
    miScalar secondaryPower;
    miScalar secondaryShift; // degrees toward the tip
    miInteger pigment;       // physical: a HairPigment
    miScalar melanin;        // 0 to 1
    miScalar melaninRedness; // 0 to 1
    miScalar longitudinalRoughness;
    miScalar azimuthalRoughness;
    miScalar cuticleTilt; // degrees
    miScalar refractiveIndex;
    miColor reflectedTint;   // physical: of the light that the surface reflects; white keeps all energy
    miColor transmittedTint; // of the light through the hair
    miColor innerTint;       // of the light that is reflected inside
    miInteger
        scatterRays; // physical: rays for the light of other surfaces at trace level 0, then one; 0: none
    miInteger scatterLimit;        // trace level from which on there are none
    miBoolean scatterSurroundings; // rays that meet no surface bring the environment
};
static_assert(sizeof(HairParameters) == sizeof(FibreParameters) + 52 * 4);

/// Parameters of orcaVelaFur, in declaration order.
struct FurParameters : FibreParameters {
    miColor tipColor;
    miScalar baseOpacity; // 0 to 1, multiplies that of `transparency`
    miScalar tipOpacity;
    miColor tipAmbientColor; // `ambientColor` is that of the root
    miColor specularColor;
    miScalar specularPower;  // above 0; the larger, the narrower
    miScalar specularStart;  // 0 to 1: along the hair, from where on it shines
    miScalar valueVariation; // 0 to 1: brightness, from hair to hair
    miScalar noise;          // 0 to 1: brightness, from patch to patch of the surface
    miScalar noiseFrequency; // patches across the first texture space
    miScalar selfShadow;     // above 0: hairs dim the light on its path into the fur
};
static_assert(sizeof(FurParameters) == sizeof(FibreParameters) + 20 * 4);
