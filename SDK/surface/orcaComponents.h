// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The result of materials that hand over their components one by one and write no passes, and how their
/// adapter in the shading group learns of each light sample.

#include "orcaColor.h"
#include "orcaPassRecords.h"
#include "orcaVelaState.h"

#include <shader.h>

/// Components of a material, in declaration order. Each is what the picture holds of it, opacity included,
/// and the product of its raw light and its colour, channel by channel. Alpha: 1 in `color`, elsewhere 0.
///     color = ambient + diffuse + translucence + indirect + scatter + specular + coat highlights + sheen
///             + reflection + coatReflection + refraction + emission
struct MaterialComponents {
    miColor color;   ///< the picture
    miColor opacity; ///< per channel; what shows through it is left to the renderer
    miColor ambient, ambientRaw;
    miColor diffuse, diffuseRaw; ///< direct light; raw: irradiance
    miColor diffuseUnshadowed;   ///< diffuse and translucence without shadows
    miColor diffuseColor;        ///< before `diffuseLevel`
    miColor diffuseLevel;        ///< what the layers above leave, times the weights of the material
    miColor indirect, indirectRaw;
    miColor specular, specularRaw; ///< highlights below the coat
    miColor specularUnshadowed;    ///< all highlights without shadows
    miColor specularColor;         ///< reflectance of the layer towards the viewer
    miColor coat, coatRaw, coatColor;
    miColor sheen, sheenRaw, sheenColor;
    miColor reflection, reflectionRaw, reflectionColor;
    miColor coatReflection, coatReflectionRaw;
    miColor refraction, refractionRaw, refractionColor;
    miColor translucence, translucenceRaw, translucenceColor; ///< light from behind, diffusely transmitted
    miColor scatter, scatterRaw, scatterColor;                ///< light that travelled below the surface
    miColor emission;
    miColor occlusion; ///< share of the hemisphere that is open
    miVector normal;   ///< shading normal, internal space
};
static_assert(sizeof(MaterialComponents) == 37 * sizeof(miColor) + sizeof(miVector));

/// Shares of the light of one sample that a material sends back, by component, before its opacity.
struct ComponentShares {
    miColor opacity = WHITE;
    miColor ambient = BLACK;
    miColor diffuse = BLACK;
    miColor translucence = BLACK;
    miColor specular = BLACK; ///< coat and sheen included
    miScalar nDotL = 0.0f;    ///< the sample's cosine, for irradiance; 0: none
};

/// Who is told of each light sample while the pass records hold its light. The material of components opens
/// and closes the light loop with the listener's write settings, and traces its rays with the records.
struct ComponentListener {
    const miState* hit; ///< whose material it listens to; materials that rays meet are none of its business
    const PassRecords* passes;
    miInteger writeMode;
    miUint writeFlags;
    miScalar writeScale;
    bool heard = false;    ///< set by a material that calls `sample`, or has no light to call it for
    miColor unlit = BLACK; ///< set by it: the part of its ambient light that is no lamp's, opacity included
    void (*sample)(ComponentListener& listener, const ComponentShares& shares);
};

/// The listener of this call; null: nobody listens.
[[nodiscard]] inline ComponentListener* listenerOf(const miState* state, const VelabaseState& vela) {
    return vela.componentListener && vela.componentListener->hit == state ? vela.componentListener : nullptr;
}
