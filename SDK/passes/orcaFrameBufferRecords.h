// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The pass records of a render state: which passes exist, which frame buffer each one feeds, and what each
/// has received at every trace level of the current sample. Built once per render state by
/// orcaFrameBufferState.

#include "orcaFrameBufferFlags.h"
#include "orcaPassTypes.h"

#include <shader.h>

#include <cstddef>
#include <cstdint>
#include <span>

/// Run of one type's records in the `FrameBufferInfo` array.
struct PassTypeRun {
    miInteger count;
    miInteger first;
};

/// For each pass type its run of records; the runs are contiguous and in type order.
struct PassTypeInfo {
    PassTypeRun types[PASS_TYPE_COUNT];

    [[nodiscard]] const PassTypeRun& operator[](PassTypeID type) const noexcept { return types[type]; }
    [[nodiscard]] miInteger recordCount() const noexcept {
        return types[PASS_TYPE_COUNT - 1].first + types[PASS_TYPE_COUNT - 1].count;
    }
};
static_assert(sizeof(PassTypeInfo) == 280);

/// What one pass has received at one trace level (level = reflection level + refraction level).
struct TraceLevelSlot {
    miColor levelResult;     ///< received at this level so far
    miColor childResult;     ///< accumulated for the level above; at level 0 the frame buffer's value
    miColor levelAux;        ///< coverage already accumulated at this level; white is fully covered
    unsigned char levelMode; ///< LEVEL_WRITES_SUPPRESSED and LEVEL_PASSES_UP

    enum : unsigned char {
        LEVEL_WRITES_SUPPRESSED = 0x1, ///< the level's own writes are dropped
        LEVEL_PASSES_UP = 0x2,         ///< contributions of deeper levels are added unconditionally
        LEVEL_MODE_MASK = 0x3,
    };
};
static_assert(sizeof(TraceLevelSlot) == 52);

/// One frame buffer that a pass feeds.
struct FrameBufferInfo {
    miUint frameBufferIndex; ///< the renderer's; FRAME_BUFFER_UNRESOLVED in record 0 before the first sample
    miUint flags;            ///< set of FrameBufferFlags
    miInteger minReflectionLevel;
    miInteger maxReflectionLevel;
    miInteger minRefractionLevel;
    miInteger maxRefractionLevel;
    miColor lightColor;         ///< what the current light sample delivers to this record
    miColor shadowTransmission; ///< transmission of the shadow ray now being traced
    miColor shadowAccum;        ///< sum of shadowTransmission over the light's shadow rays
    miColor lightAccum;         ///< sum of the material's contributions during the current light loop
    miUint userWord4;           ///< normal passes: a NormalSpace
    miUint reserved;
    TraceLevelSlot* levelSlots; ///< traceDepth + 1 slots
};
static_assert(sizeof(FrameBufferInfo) == 104);
static_assert(offsetof(FrameBufferInfo, lightColor) == 24);
static_assert(offsetof(FrameBufferInfo, levelSlots) == 96);

inline constexpr miUint FRAME_BUFFER_UNRESOLVED = 0xFFFFFFFFu;

/// First word of a camera's frame-buffer data block: "FBuf" read as a big-endian word.
inline constexpr miInteger FRAME_BUFFER_DATA_MAGIC = 0x46427566;

/// One record of the data block's frameBufferInfo array.
struct FrameBufferDataRecord {
    miTag frameBufferName; ///< string
    miBoolean userFlag0;   ///< this and the next eight: see FRAME_BUFFER_FLAG_PARAMETERS
    miBoolean userFlag1;
    miBoolean seenInReflection;
    miBoolean seenInRefraction;
    miBoolean includeReflection;
    miBoolean includeRefraction;
    miBoolean weightByOpacity;
    miBoolean shadowed;
    miBoolean ignoreObjectLinks;
    miInteger minReflectionLevel;
    miInteger maxReflectionLevel;
    miInteger minRefractionLevel;
    miInteger maxRefractionLevel;
    miUint userWord4;
};
static_assert(sizeof(FrameBufferDataRecord) == 60);

/// A flag that the data block sets.
struct FrameBufferFlagParameter {
    FrameBufferFlags bit;
    const char* name; ///< of the parameter in scenes
    miBoolean FrameBufferDataRecord::*field;
};

inline constexpr FrameBufferFlagParameter FRAME_BUFFER_FLAG_PARAMETERS[] = {
    {FB_USER_FLAG_0, "userFlag0", &FrameBufferDataRecord::userFlag0},
    {FB_USER_FLAG_1, "userFlag1", &FrameBufferDataRecord::userFlag1},
    {FB_SEEN_IN_REFLECTION, "seenInReflection", &FrameBufferDataRecord::seenInReflection},
    {FB_SEEN_IN_REFRACTION, "seenInRefraction", &FrameBufferDataRecord::seenInRefraction},
    {FB_INCLUDE_REFLECTION, "includeReflection", &FrameBufferDataRecord::includeReflection},
    {FB_INCLUDE_REFRACTION, "includeRefraction", &FrameBufferDataRecord::includeRefraction},
    {FB_WEIGHT_BY_OPACITY, "weightByOpacity", &FrameBufferDataRecord::weightByOpacity},
    {FB_SHADOWED, "shadowed", &FrameBufferDataRecord::shadowed},
    {FB_IGNORE_OBJECT_LINKS, "ignoreObjectLinks", &FrameBufferDataRecord::ignoreObjectLinks},
};

/// The camera's frame-buffer data block. Array element k is `storage[start + k]`.
struct FrameBufferData {
    miInteger magic;
    int i_nonMaterialFrameBuffers;
    int n_nonMaterialFrameBuffers;
    miTag nonMaterialFrameBuffers[1];
    int i_frameBufferInfo;
    int n_frameBufferInfo;
    FrameBufferDataRecord frameBufferInfo[1];
    int i_FrameBufferTypeCounts;
    int n_FrameBufferTypeCounts;
    miInteger FrameBufferTypeCounts[1];
};

/// Elements of an array parameter: they are `start` elements behind the one that the record's storage shows.
/// Computed as an integer, since the compiler would take the storage's length for the array's.
template <class T>
[[nodiscard]] T* arrayElements(T (&storage)[1], miInteger start) noexcept {
    return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(&storage)) + start;
}

/// True when an array parameter is within the first `size` bytes of its block; an empty array always is.
template <class Block, class T>
[[nodiscard]] bool arrayFits(const Block& block, T (&storage)[1], miInteger start, miInteger count,
                             int size) noexcept {
    if (count == 0) return true;
    if (start < 0 || count < 0) return false;
    const std::int64_t offset =
        reinterpret_cast<const char*>(&storage) - reinterpret_cast<const char*>(&block);
    const std::int64_t end = std::int64_t{start} + count;
    return offset + end * static_cast<std::int64_t>(sizeof(T)) <= size;
}

/// False for a data block whose arrays reach beyond its `size` bytes: cut off, or written in the other byte
/// order.
[[nodiscard]] inline bool isWhole(FrameBufferData& block, int size) noexcept {
    return size >= static_cast<int>(offsetof(FrameBufferData, FrameBufferTypeCounts)) &&
           arrayFits(block, block.nonMaterialFrameBuffers, block.i_nonMaterialFrameBuffers,
                     block.n_nonMaterialFrameBuffers, size) &&
           arrayFits(block, block.frameBufferInfo, block.i_frameBufferInfo, block.n_frameBufferInfo, size) &&
           arrayFits(block, block.FrameBufferTypeCounts, block.i_FrameBufferTypeCounts,
                     block.n_FrameBufferTypeCounts, size);
}

/// A camera's data block as found. Unless `block` is null the element `tag` is pinned; the caller unpins it.
struct FrameBufferDataBlock {
    FrameBufferData* block;
    miTag tag;
    bool byteSwapped; ///< written by a machine of the other byte order; the contents are not swapped
};

/// Calls function(record) for each record. Unrolled: the work per record is mostly a store or two, no longer
/// than the loop's own step, and every light of every sample does it for all records.
template <class Function>
inline void forEachRecord(unsigned count, FrameBufferInfo* records, const Function& function) {
#pragma GCC unroll 4
    for (FrameBufferInfo* const end = records + count; records != end; ++records) function(*records);
}

/// The records of one pass type.
[[nodiscard]] inline std::span<FrameBufferInfo> recordsOf(PassTypeID type, const PassTypeInfo& types,
                                                          FrameBufferInfo* records) noexcept {
    return {records + types[type].first, static_cast<std::size_t>(types[type].count)};
}

/// Trace level of a state.
[[nodiscard]] inline int traceLevel(const miState* state) noexcept {
    return state->reflection_level + state->refraction_level;
}
