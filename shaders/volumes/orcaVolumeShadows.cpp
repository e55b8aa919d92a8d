// SPDX-License-Identifier: Apache-2.0
#include "orcaVolumeShadows.h"

#include "orcaColor.h"

namespace {

/// Alpha as it is.
miColor dimmed(const miColor& light, const miColor& transmittance) {
    return withAlpha(light * transmittance, light.a);
}

} // namespace

VolumeLightPath* askingVolume(const VelabaseState& vela, const miState* state, const void* engine) {
    VolumeLightPath* const path = vela.volumeLightPath;
    if (!path || path->engine != engine) return nullptr;
    while (state && (state->type == miRAY_LIGHT || state->type == miRAY_SHADOW)) state = state->parent;
    return state == path->ray ? path : nullptr;
}

void dimLight(miColor& light, miState* state, VelabaseState& vela, const MarchSettings& settings,
              const VolumeSet& media, const VolumeRay& ray) {
    constexpr float middle = 0.5f;
    const miColor t = transmittanceAlong(media, ray, settings, middle);
    light = dimmed(light, t);
    const PassRecords passes(state);
    constexpr unsigned receives = FB_LIGHT_CONTRIBUTES | FB_SHADOWED;
    if (state->type == miRAY_SHADOW) {
        forEachRecord(passes.count, passes.records, [&](FrameBufferInfo& record) {
            if ((record.flags & receives) == receives)
                record.shadowTransmission = dimmed(record.shadowTransmission, t);
        });
        return;
    }
    const miColor full = vela.lightData.unshadowedColor;
    forEachRecord(passes.count, passes.records, [&](FrameBufferInfo& record) {
        if ((record.flags & receives) != receives) return;
        miColor& color = record.lightColor;
        const bool removed = record.flags & FB_SHADOW_ONLY;
        const miColor left = dimmed(removed ? full - color : color, t);
        color = withAlpha(removed ? full - left : left, 1.0f);
    });
    const float mean = (t.r + t.g + t.b) / 3.0f;
    vela.lightData.shadowFraction = 1.0f - (1.0f - vela.lightData.shadowFraction) * mean;
}
