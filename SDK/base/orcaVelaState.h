// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The per-thread render state that the shaders of one call tree share, and the record through which a
/// material's light loop and the light shaders communicate. The base state shader of velabase.so creates and
/// owns it; the library finds it under VELABASE_STATE_KEY.

#include "orcaStack.h"

#include <shader.h>

inline constexpr const char* VELABASE_STATE_KEY = "velabase";

struct PassRecords;
struct ComponentListener;
struct VolumeLightPath;

/// Passed from a material's light loop to the light shader and back.
struct LightData {
    miInteger isAmbient;     ///< set by the light: 1 for ambient lights
    miBoolean emitDiffuse;   ///< set by the light: add it to diffuse shading
    miBoolean emitSpecular;  ///< set by the light: add it to specular shading
    miScalar shadowFraction; ///< set by the light: part of the light that shadows removed, 0 to 1
    miColor unshadowedColor; ///< set by the light: its colour at the point before shadows
    miInteger reserved0;     ///< cleared by the lights
    miInteger reserved1;     ///< cleared by the lights
    miBoolean backSide;      ///< set by the material: the point is shaded from its back side
    miBoolean skipShadows;   ///< set by the material: the light traces no shadow
};
static_assert(sizeof(LightData) == 48);

/// Outlines of area lights.
enum AreaShape : miInteger { AREA_RECTANGLE = 0, AREA_DISC = 1 };

/// Shape of the area light of this library that is being sampled, for the area-light helpers.
struct AreaLightRecord {
    miVector center;       ///< internal space
    miVector edgeU, edgeV; ///< half edges, internal space; the light's normal is edgeU x edgeV
    miInteger shape =
        AREA_RECTANGLE; ///< AreaShape; a disc touches the parallelogram's edges in their middles
};

/// Depth of a pass-through hit (entry of `VelabaseState::depthStack`).
struct DepthStackEntry {
    DepthStackEntry* below;
    miScalar depth; ///< distance from the depth plane, scene units
};

/// Sizes over which textures are filtered at a hit. Components x and y are the two directions, z is unused.
struct FilterFootprint {
    miVector screen;  ///< scene units
    miVector texture; ///< texture space
};

/// What the image planes met by a sample have covered.
struct ImagePlaneSums {
    miColor coverage;     ///< of the planes met so far
    miColor transmission; ///< share of the sample that still sees what is behind them
    miColor openness;     ///< red: 0 once a plane lets nothing through; the other channels are unused
};

/// What a sample shows of things that are no surfaces, through the layers in front of them. Alpha: the share
/// of the sample that they take.
struct BackgroundSums {
    miColor environment; ///< image planes too
    miColor lamps;       ///< area lights that are visible themselves
};

/// Light that volumes have added to what a ray brings.
struct VolumeLight {
    miVector origin, direction; ///< of the ray
    miColor light;
};

/// One per rendering thread. "Owner" names the writer of a field; every shader may read it.
struct VelabaseState {
    // Limits and tuning. Owner: the base state shader, from its parameters.
    /// 0 to 1. A hit is transparent when the luminance of its transparency exceeds 1 - this. A mixing shader
    /// stops at the layer that leaves less than 1 - this of its paths in every channel; taken as it is, 0.999
    /// would stop nearly every stack at its first layer.
    miScalar transparencyThreshold;
    miScalar throughputCutoff; ///< paths lighter than this gather nothing and trace no shadows
    miScalar throughputUpper;  ///< paths lighter than this take fewer rays
    miInteger maxTraceDepth;   ///< deepest reflection + refraction level
    miInteger renderMode;      ///< composite mode, see bc_construct; 0 is the full picture
    miBoolean filterEnabled;   ///< false: every filter size is fixedFilterSize
    miScalar fixedFilterSize;  ///< scene units
    miScalar filterBase;       ///< angle of one pixel, radians
    miBoolean continueRay;     ///< transparent hits continue the same ray instead of a transparency ray
    miBoolean depthOutput;     ///< pass-through hits leave their depth on depthStack
    miBoolean keepEvaluations; ///< connected shaders keep their results when a texture coordinate changes
    miBoolean raster;          ///< the sample comes from the first-hit algorithm
    miVector depthPlaneNormal; ///< unit, internal space
    miScalar depthPlaneOffset; ///< depth = point . normal + offset, scene units

    // The path. Owner: the materials and the shading engine, restored when a call returns.
    miColor throughput;        ///< what the current point still contributes to the sample
    FilterFootprint footprint; ///< at the hit now being shaded
    miUint flags;              ///< set of VELA_BIT_*
    // The first three are set by a material at its end.
    miBoolean refractionsOn;       ///< the material's transparency was traced as refraction
    miColor refractedTransparency; ///< the transparency that was traced as refraction
    miColor surfaceOpacity;        ///< weight of the material's diffuse, ambient and indirect light
    /// One per pass record: what rays of engineHit contributed to the records that are weighted by opacity,
    /// kept apart from what its shaders write. Null: nothing is.
    miColor* tracedValues;
    /// Largest share, over the pass records, that the surfaces before the last accumulated hit leave
    /// uncovered.
    miColor uncovered;
    miColor layerTransmission;       ///< of the layers and transparent hits in front of the current one
    const miState* engineHit;        ///< the hit that the shading engine is shading; null outside of it
    const PassRecords* enginePasses; ///< the pass records of that hit; null outside of it
    const miState* plateState;       ///< the hit from which a use-background surface is casting a ray: other
                                     ///< such surfaces that the ray meets are part of the background already
    miUint surfacesShaded; ///< counts hits whose pass values were accumulated to the parent, so that
                           ///< a tracer can tell whether its ray met one

    // Transparent layers of the sample. Owner: the shading engine.
    miColor transparencySum; ///< colours of the layers so far, weighted by their transmission
    miColor opacitySum;      ///< their coverage
    miInteger transparencyCount;
    miColor transparencyAccum;       ///< pass-through hits: transparency of the result
    miColor transparencyAccumBehind; ///< pass-through hits: cleared
    VelaStack depthStack;            ///< of DepthStackEntry
    ImagePlaneSums imagePlanes;      ///< Owner: the image planes
    BackgroundSums background;       ///< Owner: whoever traces the ray: lens, shading engine, image planes

    // The light being sampled. Owner: the materials reset it, the lights fill it.
    LightData lightData;
    const AreaLightRecord* areaLight; ///< null unless an area light of this library is being sampled
    AreaLightRecord areaShape;        ///< storage for what areaLight points to
    /// Of lights that are sampled by direction from infinitely far: density over solid angle of the sample,
    /// and of the ray's direction when they are called for anything but lighting. 0: of all other lights.
    miScalar lightDensity;
    miColor lightFogColor; ///< the light-colour slots: of a light that is called for anything but lighting
    miColor lightFogTransmission;
    miColor lightGlowColor;
    miScalar shadowSum; ///< luminance of the light that shadows removed, of the current light

    /// Who is told of each light sample of a material of components; null: nobody. Owner: its adapter.
    ComponentListener* componentListener;

    // Volumes. Owner: the volume engine.
    VolumeLight volumeLight;          ///< of the ray that crossed a volume last
    VolumeLightPath* volumeLightPath; ///< of the light that a volume is asking for; null: none is

    /// Off: each pass holds what its shader writes. On: the layers that a compositor adds up are the picture,
    /// shadowed and shadow are unshadowed, and alpha is coverage. Owner: the base state shader.
    miBoolean additivePasses;
};

/// Transmission below which what is behind a stack of layers is not evaluated.
[[nodiscard]] inline miScalar hiddenBelow(const VelabaseState& vela) noexcept {
    return 1.0f - vela.transparencyThreshold;
}

/// The state's per-thread record; null when no base state shader created one.
[[nodiscard]] inline VelabaseState* velabaseState(miState* state) {
    return static_cast<VelabaseState*>(mi_shaderstate_get(state, VELABASE_STATE_KEY, nullptr));
}

/// The state's VelabaseState::additivePasses; for functions that are not handed the record.
[[nodiscard]] inline bool hasAdditivePasses(miState* state) {
    const VelabaseState* const vela = velabaseState(state);
    return vela && vela->additivePasses;
}
