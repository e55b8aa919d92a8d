// SPDX-License-Identifier: Apache-2.0
#include "orcaLightLoop.h"

#include "orcaColor.h"

LightLoop::LightLoop(miState* state, VelabaseState& vela, const PassRecords& passes, miTag light,
                     miBoolean backSide, bool skipShadows, miScalar weight)
    : state_(state),
      vela_(vela),
      passes_(passes),
      light_(light),
      backSide_(backSide),
      skipShadows_(skipShadows),
      weight_(weight) {
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
    resetLightSample(vela_);
    vela_.lightData.backSide = backSide_;
    vela_.lightData.skipShadows = skipShadows_;
    if (!mi_sample_light(&sample.color, &sample.direction, &sample.nDotL, state_, light_, &rendererCounter_))
        return false;
    if (weight_ != 1.0f) weigh();
    handleNonOrcaLights(passes_.count, passes_.records, &sample.color, light_, state_);
    // A light that handled its records itself has cleared the flag. Of another one's shadows nothing is
    // known.
    if (vela_.additivePasses && passes_ && (passes_.records[0].flags & FB_LIGHT_SETUP_PENDING))
        forEachRecord(passes_.count, passes_.records, [](FrameBufferInfo& record) {
            if (record.flags & FB_SHADOW_ONLY) record.lightColor = {0.0f, 0.0f, 0.0f, 1.0f};
        });
    ++samples_;
    return true;
}

/// What the light itself has left; the renderer has weighted its colour. Records of a foreign light are set
/// from that colour afterwards.
void LightLoop::weigh() const {
    vela_.lightData.unshadowedColor *= weight_;
    forEachRecord(passes_.count, passes_.records,
                  [this](FrameBufferInfo& record) { record.lightColor *= weight_; });
}

void LightLoop::end(const miInteger& writeMode, const miUint& writeFlags, const miScalar& writeScale) {
    open_ = false;
    // The protocol tests bit 0 of a byte, the first of the flags.
    sampleLightEnd(state_, passes_.count, passes_.records, samples_, &writeMode,
                   reinterpret_cast<const unsigned char*>(&writeFlags), &writeScale);
}
