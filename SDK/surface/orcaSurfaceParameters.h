// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// What every standard material's parameter record begins with, in declaration order. A material derives its
/// record from this one and appends its fields.
struct SurfaceParameters {
    miInteger passWriteMode;  // see PassWriteMode
    miInteger passWriteFlags; // bit 0: scale what is written by passWriteScale
    miScalar passWriteScale;
    miColor color;             // diffuse reflectance, before `diffuse`
    miColor transparency;      // transmittance per channel, 0 to 1
    miBoolean writePasses;     // the component passes are written
    miScalar compositeScalarA; // share of the shaded colour that glows
    miScalar throughputBoost;  // above 1: factor on the throughput of the path
    miScalar refractiveIndex;  // of the inside, relative to the outside
    miScalar lightAbsorbance;  // per scene unit of travel inside
    miBoolean refractionsOn;   // transparent hits refract rays; else rays continue straight
    miScalar diffuse;          // diffuse reflectance is this times `color`
    miColor ambientColor;
    miColor incandescence;
    miScalar translucence;        // share of light from behind that is transmitted diffusely
    miScalar translucenceForward; // 0 to 1: how much of it keeps its direction
    miScalar translucenceWrap;    // 0 to 1: how far round the surface it reaches
    miBoolean shadowTransmitAll;  // the surface casts no shadow
    miInteger refractionLimit;    // refraction level from which on no more rays are refracted
    miVector bumpNormal;          // connected: the shading normal
    miColor irradianceColor;      // weight of the indirect light
    miColor irradiance;           // connected: the indirect light itself
    miScalar refractionBlur; // radians; half angle of the cone that refracted rays fill, 0 for one sharp ray
    miInteger refractionBlurSamples;
    miScalar chromaticAberration; // index of blue less that of red, over (index - 1); 0: all bend alike
    miScalar surfaceThickness;    // scene units; above 0: a pane, not the surface of a solid
    miColor scatterColor;  // share of the light entering the surface that exits again; black: none enters
    miColor scatterRadius; // how far it travels below the surface: mean free path, scene units, per channel
    miInteger scatterSamples;
};
static_assert(sizeof(SurfaceParameters) == 55 * 4);

/// Parameters of the plain diffuse material.
struct LambertParameters : SurfaceParameters {};
