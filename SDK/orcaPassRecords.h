// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaFrameBufferRecords.h"
#include "orcaFrameBufferState.h"

/// The pass records of one shading call; false when the state has none.
struct PassRecords {
    explicit PassRecords(miState* state) : count(getFrameBufferInfo(state, types, records)) {
        if (count != 0) return;
        types = nullptr;
        records = nullptr;
    }
    explicit operator bool() const noexcept { return count != 0; }

    PassTypeInfo* types = nullptr;
    FrameBufferInfo* records = nullptr;
    unsigned count;
};

/// Level mode that a record's level bounds give at the given levels.
[[nodiscard]] inline unsigned char boundedLevelMode(const FrameBufferInfo& record, int reflectionLevel,
                                                    int refractionLevel) noexcept {
    // Every hit asks for every record, and records differ: by arithmetic, not by branches.
    const int beyond =
        (refractionLevel > record.maxRefractionLevel) | (reflectionLevel > record.maxReflectionLevel);
    const int below =
        (reflectionLevel < record.minReflectionLevel) | (refractionLevel < record.minRefractionLevel);
    const int passesUp = below & ~beyond & 1;
    return static_cast<unsigned char>((beyond | below) * TraceLevelSlot::LEVEL_WRITES_SUPPRESSED +
                                      passesUp * TraceLevelSlot::LEVEL_PASSES_UP);
}
