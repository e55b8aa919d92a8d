// SPDX-License-Identifier: Apache-2.0
#include "orcaLightProtocol.h"

#include "orcaColor.h"
#include "orcaColorLanes.h"
#include "orcaConstants.h"
#include "orcaGuards.h"
#include "orcaPassMask.h"
#include "orcaRenderPassUtilities.h"
#include "orcaUtilities.h"
#include "orcaWriteMode.h"

#include <cstring>
#include <optional>

LightData defaultLightDataArray{0, 1, 1, 0.0f, VELA_WHITE, 0, 0, 0, 0};

namespace {

constexpr miColor noLight{0.0f, 0.0f, 0.0f, 1.0f};

/// Light after a shadow of transmission `t`; alpha 1.
miColor dimmed(const miColor& light, const miColor& shadow, const miColor& t) {
    return withAlpha(blended(shadow, light, t), 1.0f);
}

miColor removedLight(const miColor& light, const miColor& arriving) {
    return withAlpha(light - arriving, 1.0f);
}

void resetTransmission(unsigned count, FrameBufferInfo* records) {
    forEachRecord(count, records, [](FrameBufferInfo& record) {
        if (record.flags & FB_LIGHT_CONTRIBUTES) record.shadowTransmission = WHITE;
    });
}

/// A light sample after a shadow, and the light that the shadow removes. Nearly all records share one
/// transmission, so both are computed when it changes and otherwise copied.
class DimmedLight {
public:
    DimmedLight(const miColor& light, const miColor& shadow, const miColor& transmission)
        : light_(loaded(light)), shadow_(loaded(shadow)) {
        dimBy(transmission);
    }
    /// For a sample whose light after the shadow is known.
    DimmedLight(const miColor& light, const miColor& arriving)
        : light_(loaded(light)), shadow_(loaded(arriving)), transmission_(WHITE) {
        set(shadow_);
    }
    void follow(const miColor& transmission) {
        if (std::memcmp(&transmission, &transmission_, sizeof transmission) != 0) dimBy(transmission);
    }
    [[nodiscard]] ColorLanes of(unsigned flags) const noexcept {
        return flags & FB_SHADOW_ONLY ? removed_ : arriving_;
    }

private:
    void dimBy(const miColor& transmission) {
        transmission_ = transmission;
        const ColorLanes t = loaded(transmission);
        set((1.0f - t) * shadow_ + t * light_);
    }
    void set(ColorLanes arriving) {
        arriving_ = opaque(arriving);
        removed_ = opaque(light_ - arriving);
    }
    static ColorLanes opaque(ColorLanes color) {
        color[3] = 1.0f;
        return color;
    }

    ColorLanes light_, shadow_;
    ColorLanes arriving_, removed_;
    miColor transmission_;
};

} // namespace

void sampleLightBegin(unsigned count, FrameBufferInfo* records) {
    if (count == 0) return;
    records[0].flags |= FB_IN_LIGHT_LOOP | FB_LIGHT_SETUP_PENDING;
    forEachRecord(count, records, [](FrameBufferInfo& record) { record.lightAccum = BLACK; });
}

void sampleLightEnd(miState* state, unsigned count, FrameBufferInfo* records, int samples, const int* mode,
                    const unsigned char* useScale, const float* scale) {
    if (count == 0) return;
    records[0].flags &= ~unsigned{FB_IN_LIGHT_LOOP};
    if (samples < 1) return;
    if (*mode == WRITE_NONE || state->type == miRAY_ENVIRONMENT) return;
    const float inverse = 1.0f / static_cast<float>(samples);
    const float factor = *useScale & WRITE_SCALED ? *scale : 1.0f;
    const int how = *mode;
    const int level = traceLevel(state);
    const auto combineWithSlot = [&](const FrameBufferInfo& record, const auto& combined) {
        TraceLevelSlot& slot = record.levelSlots[level];
        if (slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED) return;
        combined(slot.levelResult, record.lightAccum * inverse * factor);
    };
    if (how == WRITE_MULTIPLY || how == WRITE_REPLACE) {
        const auto combined = [how](miColor& held, const miColor& value) { combine(held, value, how); };
        forEachRecord(count, records,
                      [&](const FrameBufferInfo& record) { combineWithSlot(record, combined); });
        return;
    }
    const auto added = [](miColor& held, const miColor& value) { held += value; };
    forEachRecord(count, records, [&](const FrameBufferInfo& record) {
        // Most passes receive nothing from a light: adding black would only load their slots.
        if (!isZero(record.lightAccum)) combineWithSlot(record, added);
    });
}

void setupLightContributions(unsigned count, FrameBufferInfo* records, miState* state) {
    if (count == 0) return;
    if (state->light_instance == miNULLTAG) {
        orcaError("setupLightContributions was called outside of a light shader.");
        return;
    }
    const PassMask mask(state->light_instance);
    if (!mask) {
        forEachRecord(count, records, [](FrameBufferInfo& record) { record.flags |= FB_LIGHT_CONTRIBUTES; });
    } else {
        for (unsigned i = 0; i < count; ++i) {
            if (mask.admits(i)) records[i].flags |= FB_LIGHT_CONTRIBUTES;
            else records[i].flags &= ~unsigned{FB_LIGHT_CONTRIBUTES};
        }
    }
    records[0].flags &= ~unsigned{FB_LIGHT_SETUP_PENDING};
}

void handleNonOrcaLights(unsigned count, FrameBufferInfo* records, const miColor* lightValue,
                         miTag lightInstance, miState* state) {
    if (count == 0 || !(records[0].flags & FB_LIGHT_SETUP_PENDING)) return;
    {
        const Restored<miTag> light(state->light_instance);
        state->light_instance = lightInstance;
        setupLightContributions(count, records, state);
    }
    // Intended: only a foreign light sets the flag again, so a foreign light that follows one of this library
    // in the same loop keeps the per-record results of the latter.
    records[0].flags |= FB_LIGHT_SETUP_PENDING;
    forEachRecord(count, records, [light = *lightValue](FrameBufferInfo& record) {
        record.lightColor = record.flags & FB_LIGHT_CONTRIBUTES ? light : BLACK;
    });
}

void setLightIrradiance(unsigned count, FrameBufferInfo* records, const miColor* color) {
    const miColor light = withAlpha(*color, 1.0f);
    forEachRecord(count, records, [&](FrameBufferInfo& record) {
        record.shadowTransmission = WHITE;
        const bool lit = (record.flags & FB_LIGHT_CONTRIBUTES) && !(record.flags & FB_SHADOW_ONLY);
        record.lightColor = lit ? light : noLight;
    });
}

bool traceShadow(unsigned count, FrameBufferInfo* records, miColor* shadowResult, const miColor* lightValue,
                 const miColor* shadowColor, bool uniform, miState* state) {
    *shadowResult = WHITE;
    resetTransmission(count, records);
    const bool light = mi_trace_shadow(shadowResult, state) != 0;
    if (count == 0) return light;
    const miColor full = withAlpha(*lightValue, 1.0f);
    DimmedLight shadowed = uniform && !light ? DimmedLight(full, withAlpha(*shadowColor, 1.0f))
                                             : DimmedLight(full, *shadowColor, *shadowResult);
    const ColorLanes unshadowed = loaded(full), none = loaded(noLight);
    forEachRecord(count, records, [&](FrameBufferInfo& record) {
        const unsigned receives = record.flags & (FB_LIGHT_CONTRIBUTES | FB_SHADOWED);
        if (receives == FB_LIGHT_CONTRIBUTES) {
            store(record.lightColor, unshadowed);
        } else if (receives & FB_LIGHT_CONTRIBUTES) {
            if (!uniform) shadowed.follow(record.shadowTransmission);
            store(record.lightColor, shadowed.of(record.flags));
        } else {
            store(record.lightColor, none);
        }
    });
    return light;
}

void traceShadowAccumulateBegin(unsigned count, FrameBufferInfo* records) {
    forEachRecord(count, records, [](FrameBufferInfo& record) { record.shadowAccum = BLACK; });
}

bool traceShadowAccumulate(unsigned count, FrameBufferInfo* records, miColor* shadowResult, miState* state) {
    *shadowResult = WHITE;
    resetTransmission(count, records);
    const bool light = mi_trace_shadow(shadowResult, state) != 0;
    forEachRecord(count, records, [](FrameBufferInfo& record) {
        if (record.flags & FB_LIGHT_CONTRIBUTES) record.shadowAccum += record.shadowTransmission;
    });
    return light;
}

void traceShadowAccumulateEnd(unsigned count, FrameBufferInfo* records, unsigned samples,
                              const miColor* lightValue, const miColor* shadowColor, miState* state) {
    if (count == 0) return;
    const bool additive = hasAdditivePasses(state);
    const miColor full = withAlpha(*lightValue, 1.0f);
    forEachRecord(count, records, [&](FrameBufferInfo& record) {
        if (!(record.flags & FB_LIGHT_CONTRIBUTES)) {
            record.lightColor = noLight;
            return;
        }
        const miColor mean =
            samples == 0 ? record.shadowAccum : record.shadowAccum / static_cast<float>(samples);
        record.shadowTransmission = mean;
        // Intended: unless passes add up, a record of unshadowed light receives shadowed light from lights of
        // several samples.
        if (additive && !(record.flags & FB_SHADOWED)) {
            record.lightColor = full;
            return;
        }
        const miColor arriving = dimmed(*lightValue, *shadowColor, mean);
        record.lightColor = record.flags & FB_SHADOW_ONLY ? removedLight(*lightValue, arriving) : arriving;
    });
}

bool applyShadowTransparencyToFrameBuffers(unsigned count, FrameBufferInfo* records,
                                           const miColor* transparency, miState* state) {
    bool light = false;
    std::optional<PassMask> mask; // looked up at the first record that needs it
    for (unsigned i = 0; i < count; ++i) {
        FrameBufferInfo& record = records[i];
        constexpr unsigned needed = FB_SHADOWED | FB_LIGHT_CONTRIBUTES;
        if ((record.flags & needed) != needed) continue;
        if (!mask) mask.emplace(state->instance);
        if ((record.flags & FB_IGNORE_OBJECT_LINKS) || mask->admits(i))
            record.shadowTransmission *= *transparency;
        if (!allBelow(record.shadowTransmission, VELA_EPS)) light = true;
    }
    return light;
}
