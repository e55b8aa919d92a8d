// SPDX-License-Identifier: Apache-2.0
#include "orcaLightProtocol.h"

#include "orcaColor.h"
#include "orcaConstants.h"
#include "orcaGuards.h"
#include "orcaPassMask.h"
#include "orcaRenderPassUtilities.h"
#include "orcaUtilities.h"
#include "orcaWriteMode.h"

#include <cstdint>
#include <cstring>
#include <optional>

LightData defaultLightDataArray{0, 1, 1, 0.0f, VELA_WHITE, 0, 0, 0, 0};

namespace {

constexpr miColor noLight{0.0f, 0.0f, 0.0f, 1.0f};

/// What reaches a record whose light passes a shadow of transmission `t`; alpha 1.
miColor dimmed(const miColor& light, const miColor& shadow, const miColor& t) {
    return withAlpha(blended(shadow, light, t), 1.0f);
}

miColor removedLight(const miColor& light, const miColor& arriving) {
    return withAlpha(light - arriving, 1.0f);
}

/// All four channels zero, of either sign; two tests of bits instead of four of numbers.
bool isBlack(const miColor& c) {
    constexpr std::uint64_t magnitudes = 0x7fffffff7fffffffu;
    std::uint64_t words[2];
    static_assert(sizeof words == sizeof c);
    std::memcpy(words, &c, sizeof words);
    return ((words[0] | words[1]) & magnitudes) == 0;
}

void resetTransmission(unsigned count, FrameBufferInfo* records) {
    for (unsigned i = 0; i < count; ++i)
        if (records[i].flags & FB_LIGHT_CONTRIBUTES) records[i].shadowTransmission = WHITE;
}

} // namespace

void sampleLightBegin(unsigned count, FrameBufferInfo* records) {
    if (count == 0) return;
    records[0].flags |= FB_IN_LIGHT_LOOP | FB_LIGHT_SETUP_PENDING;
    for (unsigned i = 0; i < count; ++i) records[i].lightAccum = BLACK;
}

void sampleLightEnd(miState* state, unsigned count, FrameBufferInfo* records, int samples, const int* mode,
                    const unsigned char* useScale, const float* scale) {
    if (count == 0) return;
    records[0].flags &= ~unsigned{FB_IN_LIGHT_LOOP};
    if (samples < 1) return;
    if (*mode == WRITE_NONE || state->type == miRAY_ENVIRONMENT) return;
    const float inverse = 1.0f / static_cast<float>(samples);
    const bool adds = *mode != WRITE_MULTIPLY && *mode != WRITE_REPLACE;
    for (unsigned i = 0; i < count; ++i) {
        // Most passes take nothing of a light: adding black would only fetch their slots.
        if (adds && isBlack(records[i].lightAccum)) continue;
        TraceLevelSlot& slot = records[i].levelSlots[traceLevel(state)];
        if (slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED) continue;
        miColor gathered = records[i].lightAccum * inverse;
        if (*useScale & 1u) gathered *= *scale;
        combine(slot.levelResult, gathered, *mode);
    }
}

void setupLightContributions(unsigned count, FrameBufferInfo* records, miState* state) {
    if (count == 0) return;
    if (state->light_instance == miNULLTAG) {
        orcaError("setupLightContributions was called outside of a light shader.");
        return;
    }
    const PassMask mask(state->light_instance);
    for (unsigned i = 0; i < count; ++i) {
        if (mask.admits(i)) records[i].flags |= FB_LIGHT_CONTRIBUTES;
        else records[i].flags &= ~unsigned{FB_LIGHT_CONTRIBUTES};
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
    // Meant as it stands: only a foreign light asks for the next one to be looked at, so a foreign light that
    // follows one of ours in the same loop keeps what ours left.
    records[0].flags |= FB_LIGHT_SETUP_PENDING;
    for (unsigned i = 0; i < count; ++i)
        records[i].lightColor = records[i].flags & FB_LIGHT_CONTRIBUTES ? *lightValue : BLACK;
}

void setLightIrradiance(unsigned count, FrameBufferInfo* records, const miColor* color) {
    for (unsigned i = 0; i < count; ++i) {
        records[i].shadowTransmission = WHITE;
        const bool lit = (records[i].flags & FB_LIGHT_CONTRIBUTES) && !(records[i].flags & FB_SHADOW_ONLY);
        records[i].lightColor = lit ? withAlpha(*color, 1.0f) : noLight;
    }
}

bool traceShadow(unsigned count, FrameBufferInfo* records, miColor* shadowResult, const miColor* lightValue,
                 const miColor* shadowColor, bool uniform, miState* state) {
    *shadowResult = WHITE;
    resetTransmission(count, records);
    const bool light = mi_trace_shadow(shadowResult, state) != 0;
    const miColor full = withAlpha(*lightValue, 1.0f), shadow = *shadowColor;
    const miColor shared = withAlpha(light ? dimmed(full, shadow, *shadowResult) : shadow, 1.0f);
    for (unsigned i = 0; i < count; ++i) {
        FrameBufferInfo& record = records[i];
        if (!(record.flags & FB_LIGHT_CONTRIBUTES)) {
            record.lightColor = noLight;
        } else if (!(record.flags & FB_SHADOWED)) {
            record.lightColor = full;
        } else {
            const miColor arriving = uniform ? shared : dimmed(full, shadow, record.shadowTransmission);
            record.lightColor = record.flags & FB_SHADOW_ONLY ? removedLight(full, arriving) : arriving;
        }
    }
    return light;
}

void traceShadowAccumulateBegin(unsigned count, FrameBufferInfo* records) {
    for (unsigned i = 0; i < count; ++i) records[i].shadowAccum = BLACK;
}

bool traceShadowAccumulate(unsigned count, FrameBufferInfo* records, miColor* shadowResult, miState* state) {
    *shadowResult = WHITE;
    resetTransmission(count, records);
    const bool light = mi_trace_shadow(shadowResult, state) != 0;
    for (unsigned i = 0; i < count; ++i)
        if (records[i].flags & FB_LIGHT_CONTRIBUTES) records[i].shadowAccum += records[i].shadowTransmission;
    return light;
}

void traceShadowAccumulateEnd(unsigned count, FrameBufferInfo* records, unsigned samples,
                              const miColor* lightValue, const miColor* shadowColor, miState*) {
    for (unsigned i = 0; i < count; ++i) {
        FrameBufferInfo& record = records[i];
        if (!(record.flags & FB_LIGHT_CONTRIBUTES)) {
            record.lightColor = noLight;
            continue;
        }
        const miColor mean =
            samples == 0 ? record.shadowAccum : record.shadowAccum / static_cast<float>(samples);
        record.shadowTransmission = mean;
        // Meant as it stands: a record that wants unshadowed light gets shadowed light from lights of several
        // samples.
        const miColor arriving = dimmed(*lightValue, *shadowColor, mean);
        record.lightColor = record.flags & FB_SHADOW_ONLY ? removedLight(*lightValue, arriving) : arriving;
    }
}

bool applyShadowTransparencyToFrameBuffers(unsigned count, FrameBufferInfo* records,
                                           const miColor* transparency, miState* state) {
    bool light = false;
    std::optional<PassMask> mask; // looked up at the first record that asks
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
