// SPDX-License-Identifier: Apache-2.0
#include "orcaFrameBufferState.h"

#include "orcaColor.h"
#include "orcaConstants.h"
#include "orcaGuards.h"
#include "orcaRenderPassUtilities.h"
#include "orcaUserData.h"
#include "orcaUtilities.h"
#include "orcaVelaState.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

constexpr const char* sourceName = "orcaFrameBufferState";
constexpr int recordsLine = 1;
constexpr int slotsLine = 2;

/// False when a count is negative, or all together are more than can be counted.
bool countTypes(const FrameBufferData& data, PassTypeInfo& types) {
    const miInteger* const counts = arrayElements(data.FrameBufferTypeCounts, data.i_FrameBufferTypeCounts);
    std::int64_t first = 0;
    for (int type = 0; type < PASS_TYPE_COUNT; ++type) {
        const miInteger count = type < data.n_FrameBufferTypeCounts ? counts[type] : 0;
        types.types[type] = {count, static_cast<miInteger>(first)};
        first += count;
        if (count < 0 || first > std::numeric_limits<miInteger>::max()) return false;
    }
    return true;
}

/// Creates the unresolved records and stores them in the shader state.
miBoolean createRecords(miState* state) {
    const FrameBufferDataBlock found = getFrameBufferDataBlock(state);
    if (!found.block || found.tag == miNULLTAG) return miFALSE;
    const Unpin unpin(found.tag);
    FrameBufferData& data = *found.block;
    if (!isWhole(data, parameterBytes(&data))) {
        orcaError("orcaFrameBufferState(): The camera's frame-buffer data block is damaged: its arrays reach "
                  "beyond its end. There are no passes. Re-export the .mi");
        return miFALSE;
    }

    const int count = data.n_frameBufferInfo;
    // A depth below 0 means that nothing is traced; there is still the eye's level.
    const std::int64_t slotsPerRecord = std::int64_t{std::max(0, state->options->trace_depth)} + 1;
    const std::int64_t recordBytes =
        std::max(slotsPerRecord * static_cast<std::int64_t>(sizeof(TraceLevelSlot)),
                 static_cast<std::int64_t>(sizeof(FrameBufferInfo)));
    if (count * recordBytes > std::numeric_limits<int>::max()) {
        orcaError("orcaFrameBufferState(): Too many passes for so large a trace depth. There are no passes. "
                  "Lower the trace depth");
        return miFALSE;
    }
    const RendererArray<FrameBufferInfo> records(sourceName, recordsLine, count);
    RendererArray<TraceLevelSlot> slots(sourceName, slotsLine, static_cast<int>(count * slotsPerRecord));
    if (count > 0 && (!records || !slots)) return miFALSE;
    for (int i = 0; i < count; ++i) {
        FrameBufferInfo& record = records[i];
        record.flags = 0;
        record.minReflectionLevel = record.maxReflectionLevel = 0;
        record.minRefractionLevel = record.maxRefractionLevel = 0;
        record.levelSlots = slots.get() + i * slotsPerRecord;
    }
    if (count > 0) records[0].frameBufferIndex = FRAME_BUFFER_UNRESOLVED;

    if (data.n_FrameBufferTypeCounts != PASS_TYPE_COUNT)
        orcaError("orcaFrameBufferState(): FrameBufferTypeCounts array does not have the expected number of "
                  "elements.");
    PassTypeInfo types{};
    if (!countTypes(data, types)) {
        orcaError(
            "orcaFrameBufferState(): FrameBufferTypeCounts array holds a count that cannot be. There are "
            "no passes. Re-export the .mi");
        return miFALSE;
    }

    mi_shaderstate_set(state, FRAME_BUFFER_INFO_KEY, records.get(),
                       count * static_cast<int>(sizeof(FrameBufferInfo)), VELA_STATE_LIFETIME);
    mi_shaderstate_set(state, PASS_TYPE_INFO_KEY, &types, sizeof types, VELA_STATE_LIFETIME);
    if (count > 0) slots.release(); // now owned by record 0
    return miTRUE;
}

/// Slots of records that were never resolved stay allocated: only a sample shows that the records are valid.
miBoolean destroyRecords(miState* state) {
    PassTypeInfo* types = nullptr;
    FrameBufferInfo* records = nullptr;
    const unsigned count = getFrameBufferInfo(state, types, records);
    if (count != 0 && records[0].frameBufferIndex != FRAME_BUFFER_UNRESOLVED)
        mi_mem_int_release(sourceName, slotsLine, records[0].levelSlots);
    mi_shaderstate_set(state, FRAME_BUFFER_INFO_KEY, nullptr, 0, VELA_STATE_LIFETIME);
    mi_shaderstate_set(state, PASS_TYPE_INFO_KEY, nullptr, 0, VELA_STATE_LIFETIME);
    return miTRUE;
}

void resolveRecord(miState* state, const FrameBufferDataRecord& data, FrameBufferInfo& record) {
    if (data.frameBufferName == miNULLTAG)
        orcaError("Missing frameBufferName parameter in frameBufferInfo record.");
    record.frameBufferIndex = getNamedFrameBufferID(state, data.frameBufferName);
    record.flags = 0;
    for (const FrameBufferFlagParameter& flag : FRAME_BUFFER_FLAG_PARAMETERS)
        if (data.*flag.field) record.flags |= flag.bit;
    record.minReflectionLevel = data.minReflectionLevel;
    record.maxReflectionLevel = data.maxReflectionLevel;
    record.minRefractionLevel = data.minRefractionLevel;
    record.maxRefractionLevel = data.maxRefractionLevel;
    record.userWord4 = data.userWord4;
}

/// Looks the frame buffers up by name and copies each record's settings from the data block.
/// @return number of records
unsigned resolveRecords(miState* state, const PassTypeInfo& types, FrameBufferInfo* records, unsigned count) {
    const FrameBufferDataBlock found = getFrameBufferDataBlock(state);
    if (!found.block) return count;
    const Unpin unpin(found.tag);
    const FrameBufferData& data = *found.block;

    const int dataRecords = data.n_frameBufferInfo;
    const FrameBufferDataRecord* const dataRecord =
        arrayElements(data.frameBufferInfo, data.i_frameBufferInfo);
    for (int i = 0; i < dataRecords; ++i) resolveRecord(state, dataRecord[i], records[i]);
    for (const PassType& type : PASS_TYPES)
        for (FrameBufferInfo& record : recordsOf(type.id, types, records)) {
            // What shadows remove is the difference to shadowed light, so such records need that too.
            if (type.light == PassLight::Removed) record.flags |= FB_SHADOW_ONLY | FB_SHADOWED;
            if (type.light == PassLight::Unshadowed) record.flags &= ~unsigned{FB_SHADOWED};
        }
    return static_cast<unsigned>(dataRecords);
}

miBoolean beginSample(miState* state) {
    PassTypeInfo* types = nullptr;
    FrameBufferInfo* records = nullptr;
    unsigned count = getFrameBufferInfo(state, types, records);
    if (count == 0) return miTRUE;
    if (records[0].frameBufferIndex == FRAME_BUFFER_UNRESOLVED)
        count = resolveRecords(state, *types, records, count);
    forEachRecord(count, records, [](const FrameBufferInfo& record) {
        TraceLevelSlot& slot = record.levelSlots[0];
        slot.childResult = BLACK;
        slot.levelAux = BLACK;
    });
    return miTRUE;
}

/// A positive alpha means that something was written, and becomes 1.
void settleAlpha(miColor& color) {
    if (color.a > 0.0f) color.a = 1.0f;
}

/// Records whose alpha is settled when a sample ends: all but those of volumes, or, where alpha is coverage,
/// only the custom buffers, whose writers define it.
struct SettledRecords {
    SettledRecords(miState* state, const PassTypeInfo& types, unsigned count) {
        if (hasAdditivePasses(state)) {
            const PassTypeRun& custom = types[PASS_CUSTOM];
            first[0] = end[0] = 0;
            first[1] = std::min(static_cast<unsigned>(custom.first), count);
            end[1] = std::min(static_cast<unsigned>(custom.first + custom.count), count);
            return;
        }
        const PassTypeRun &volumes = types[VOLUME_PASSES.front()], &lastVolumes = types[VOLUME_PASSES.back()];
        first[0] = 0;
        end[0] = std::min(static_cast<unsigned>(volumes.first), count);
        first[1] = std::min(static_cast<unsigned>(lastVolumes.first + lastVolumes.count), count);
        end[1] = count;
    }
    [[nodiscard]] bool contain(unsigned i) const noexcept {
        return (i >= first[0] && i < end[0]) || (i >= first[1] && i < end[1]);
    }

    unsigned first[2], end[2]; ///< two runs, [first, end)
};

/// In rasterizer mode several hits of a sample write; their values add up. Alpha that is coverage covers
/// what the hits before have left.
void addToFrameBuffers(miState* state, const SettledRecords& settled, const PassTypeInfo& types,
                       const FrameBufferInfo* records, unsigned count) {
    const auto add = [&](unsigned i, bool alphaIsCoverage) {
        const int buffer = static_cast<int>(records[i].frameBufferIndex);
        const miColor& value = records[i].levelSlots[0].childResult;
        miColor before{};
        mi_fb_get(state, buffer, &before);
        miColor sum = before + value;
        if (settled.contain(i)) settleAlpha(sum);
        else if (alphaIsCoverage) sum.a = before.a + (1.0f - before.a) * value.a;
        mi_fb_put(state, buffer, &sum);
    };
    const bool additive = hasAdditivePasses(state);
    for (const PassType& type : PASS_TYPES) {
        const PassTypeRun& run = types[type.id];
        const auto end = std::min(static_cast<unsigned>(run.first + run.count), count);
        for (auto i = static_cast<unsigned>(run.first); i < end; ++i)
            add(i, additive && type.role != PassRole::Volume);
    }
}

miBoolean endSample(miState* state, const miShader_state_arg& argument) {
    if (state->type != miRAY_EYE || !argument.ret_value) return miTRUE;
    PassTypeInfo* types = nullptr;
    FrameBufferInfo* records = nullptr;
    const unsigned count = getFrameBufferInfo(state, types, records);
    if (count == 0) return miTRUE;

    const SettledRecords settled(state, *types, count);
    if (state->options->scanline == miSCANLINE_RASTERIZER && state->rast_compose) {
        addToFrameBuffers(state, settled, *types, records, count);
        return miTRUE;
    }
    // All alphas before all values: a load right after a store to a part of it would wait for that store.
    const auto settle = [](const FrameBufferInfo& record) { settleAlpha(record.levelSlots[0].childResult); };
    for (const int run : {0, 1})
        forEachRecord(settled.end[run] - settled.first[run], records + settled.first[run], settle);
    forEachRecord(count, records, [&](const FrameBufferInfo& record) {
        mi_fb_put(state, static_cast<int>(record.frameBufferIndex), &record.levelSlots[0].childResult);
    });
    return miTRUE;
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaFrameBufferState_version(void) {
    return 1;
}

ORCA_EXPORT void orcaFrameBufferState_init(miState* state, void* parameters, miBoolean* initRequired) {
    if (parameters) return;
    requireStateShader(state,
                       "orcaFrameBufferState(): Not invoked as state shader.\nCould be a version mismatch. "
                       "Re-export the .mi");
    *initRequired = miFALSE;
}

ORCA_EXPORT miBoolean orcaFrameBufferState(void*, miState* state, void*, miShader_state_arg* argument) {
    switch (argument->op) {
    case miSHADERSTATE_STATE_INIT: return createRecords(state);
    case miSHADERSTATE_STATE_EXIT: return destroyRecords(state);
    case miSHADERSTATE_SAMPLE_INIT: return beginSample(state);
    case miSHADERSTATE_SAMPLE_EXIT: return endSample(state, *argument);
    default: mi_warning("vela_state(): Invoked with invalid opcode."); return miFALSE;
    }
}

} // extern "C"

#include "declared/orcaFrameBufferState.h"
