// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// What every standard material's parameter record begins with, in declaration order. A material appends its
/// own fields by deriving its record from this one.
struct SurfaceParameters {
    miInteger passWriteMode;  // see PassWriteMode
    miInteger passWriteFlags; // bit 0: scale what is written by passWriteScale
    miScalar passWriteScale;
    miColor color;             // diffuse reflectance, before `diffuse`
    miColor transparency;      // transmittance per channel, 0 to 1
    miBoolean writePasses;     // the component passes are written
    miScalar compositeScalarA; // share of the shaded colour that glows
    miScalar throughputBoost;  // above 1: makes the path count for more than it weighs
    miScalar refractiveIndex;  // of the inside, relative to the outside
    miScalar lightAbsorbance;  // per scene unit of travel inside
    miBoolean refractionsOn;   // transparency bends rays; else they go straight on
    miScalar diffuse;          // share of light that the surface sends back diffusely
    miColor ambientColor;
    miColor incandescence;
    miScalar translucence;        // share of light from behind that comes through diffusely
    miScalar translucenceForward; // 0 to 1: how much it keeps to its direction
    miScalar translucenceWrap;    // 0 to 1: how far round the surface it reaches
    miBoolean shadowTransmitAll;  // the surface casts no shadow
    miInteger refractionLimit;    // refraction level from which on no more rays are refracted
    miVector bumpNormal;          // connected: the shading normal
    miColor irradianceColor;      // weight of the indirect light
    miColor irradiance;           // connected: the indirect light itself
    miScalar refractionBlur; // radians; half angle of the cone that refracted rays fill, 0 for one sharp ray
    miInteger refractionBlurSamples;
    miScalar chromaticAberration; // index of blue less that of red, over (index - 1); 0: all bend alike
    miScalar
        surfaceThickness;  // scene units; above 0: the surface is a pane of its own, not the skin of a body
    miColor scatterColor;  // share of the light entering the surface that leaves it again; black: none enters
    miColor scatterRadius; // how far it travels below the surface: mean free path, scene units, per channel
    miInteger scatterSamples;
};
static_assert(sizeof(SurfaceParameters) == 55 * 4);

/// Parameters of the plain diffuse material.
struct LambertParameters : SurfaceParameters {};
