// SPDX-License-Identifier: Apache-2.0
#include "orcaLightSums.h"

#include "orcaComposite.h"

LightSums& LightSums::operator*=(miScalar f) noexcept {
    for (miColor* color : {&ambient, &ambientUnshadowed, &diffuse, &diffuseUnshadowed, &translucence,
                           &specular, &specularUnshadowed, &scattered})
        *color *= f;
    shadow *= f;
    light *= f;
    return *this;
}

void LightSums::addDiffuse(const miColor& through, const miColor& reflected, const miColor& lightColor,
                           const miColor& unshadowedLight) noexcept {
    diffuse += (through + reflected) * lightColor;
    diffuseUnshadowed += reflected * unshadowedLight;
    translucence += through * lightColor;
}

void LightSums::countShadow(const LightData& data, miScalar nDotL) noexcept {
    const miScalar unshadowed = luminance(data.unshadowedColor);
    light += unshadowed;
    if (nDotL > 0.0f) shadow += unshadowed * data.shadowFraction;
}

miScalar LightSums::selected(miUint componentMask) const noexcept {
    miScalar sum = shadow + light;
    if (componentMask & COMPOSITE_DIFFUSE) sum += luminance(diffuse);
    if (componentMask & COMPOSITE_DIFFUSE_UNSHADOWED) sum += luminance(diffuseUnshadowed);
    if (componentMask & COMPOSITE_SPECULAR) sum += luminance(specular);
    if (componentMask & COMPOSITE_SPECULAR_UNSHADOWED) sum += luminance(specularUnshadowed);
    return sum;
}
