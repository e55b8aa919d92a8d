// SPDX-License-Identifier: Apache-2.0
#include "orcaLightLoop.h"

#include "orcaComposite.h"
#include "orcaLightProtocol.h"

LightSums& LightSums::operator+=(const LightSums& other) noexcept {
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
    const miColor both = through + reflected;
    diffuse += both * lightColor;
    diffuseUnshadowed += both * unshadowedLight;
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

LightLoop::LightLoop(miState* state, VelabaseState& vela, const PassRecords& passes, miTag light,
                     miBoolean backSide, bool skipShadows)
    : state_(state),
      vela_(vela),
      passes_(passes),
      light_(light),
      backSide_(backSide),
      skipShadows_(skipShadows) {
    sampleLightBegin(passes_.count, passes_.records);
}

LightLoop::~LightLoop() {
    if (!open_) return;
    constexpr int noMode = 0;
    constexpr unsigned char noScale = 0;
    constexpr float scale = 1.0f;
    sampleLightEnd(state_, passes_.count, passes_.records, 0, &noMode, &noScale, &scale);
}

bool LightLoop::next(LightSample& sample) {
    vela_.lightData = defaultLightDataArray;
    vela_.lightData.backSide = backSide_;
    vela_.lightData.skipShadows = skipShadows_;
    if (!mi_sample_light(&sample.color, &sample.direction, &sample.nDotL, state_, light_, &rendererCounter_))
        return false;
    handleNonOrcaLights(passes_.count, passes_.records, &sample.color, light_, state_);
    ++samples_;
    return true;
}

void LightLoop::end(const miInteger& writeMode, const miUint& writeFlags, const miScalar& writeScale) {
    open_ = false;
    // The protocol tests bit 0 of a byte, the first of the flags.
    sampleLightEnd(state_, passes_.count, passes_.records, samples_, &writeMode,
                   reinterpret_cast<const unsigned char*>(&writeFlags), &writeScale);
}
