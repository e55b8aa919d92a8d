// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaVelaState.h"

/// Light that a surface reflects, by component. Black at the start.
struct LightSums {
    miColor ambient = BLACK, ambientUnshadowed = BLACK;
    miColor diffuse = BLACK; ///< translucence included
    miColor diffuseUnshadowed = BLACK;
    miColor translucence = BLACK;
    miColor specular = BLACK, specularUnshadowed = BLACK;
    miColor scattered = BLACK; ///< of scatter components that are evaluated per light sample
    miScalar shadow = 0.0f;    ///< luminance of the light that shadows removed
    miScalar light = 0.0f;     ///< luminance of the unshadowed light

    LightSums& operator+=(const LightSums& other) noexcept;
    LightSums& operator*=(miScalar f) noexcept;

    /// A sample's reflected share, and its translucent one, which only the shadowed sum counts.
    void addDiffuse(const miColor& through, const miColor& reflected, const miColor& light,
                    const miColor& unshadowedLight) noexcept;
    /// Adds the luminance of the sample's light, and of the part that shadows removed.
    void countShadow(const LightData& data, miScalar nDotL) noexcept;
    /// Luminance of the terms that a component mask selects, with the shadow and light sums.
    [[nodiscard]] miScalar selected(miUint componentMask) const noexcept;
};

// For each light of a hit: inline, so that the compiler knows that the two sums do not overlap.
inline LightSums& LightSums::operator+=(const LightSums& other) noexcept {
    ambient += other.ambient;
    ambientUnshadowed += other.ambientUnshadowed;
    diffuse += other.diffuse;
    diffuseUnshadowed += other.diffuseUnshadowed;
    translucence += other.translucence;
    specular += other.specular;
    specularUnshadowed += other.specularUnshadowed;
    scattered += other.scattered;
    shadow += other.shadow;
    light += other.light;
    return *this;
}
