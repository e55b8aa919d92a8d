// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaFrameBufferLookup.h"
#include "orcaFrameBufferRecords.h"
#include "orcaVelaState.h"

#include <span>

/// The pass records of one shading call; false when the state has none.
struct PassRecords {
    explicit PassRecords(miState* state) : count(getFrameBufferInfo(state, types, records)) {
        if (count != 0) return;
        types = nullptr;
        records = nullptr;
    }
    /// Those that the shading engine has found, when `state` is its hit or a light sample of it.
    PassRecords(miState* state, const VelabaseState& vela)
        : PassRecords(vela.enginePasses && isOfHit(state, vela.engineHit) ? *vela.enginePasses
                                                                          : PassRecords(state)) {}
    /// None.
    PassRecords() noexcept : count(0) {}
    explicit operator bool() const noexcept { return count != 0; }
    /// The records of one pass type; not without records.
    [[nodiscard]] std::span<FrameBufferInfo> of(PassTypeID type) const noexcept {
        return recordsOf(type, *types, records);
    }

    PassTypeInfo* types = nullptr;
    FrameBufferInfo* records = nullptr;
    unsigned count;

private:
    static bool isOfHit(const miState* state, const miState* hit) noexcept {
        return state == hit || (state->type == miRAY_LIGHT && state->parent == hit);
    }
};

/// Mode (of TraceLevelSlot) that a record's level bounds give at the given levels.
[[nodiscard]] inline unsigned char boundedLevelMode(const FrameBufferInfo& record, int reflectionLevel,
                                                    int refractionLevel) noexcept {
    const bool beyond =
        refractionLevel > record.maxRefractionLevel || reflectionLevel > record.maxReflectionLevel;
    if (beyond) return TraceLevelSlot::LEVEL_WRITES_SUPPRESSED;
    const bool below =
        reflectionLevel < record.minReflectionLevel || refractionLevel < record.minRefractionLevel;
    if (below) return TraceLevelSlot::LEVEL_WRITES_SUPPRESSED | TraceLevelSlot::LEVEL_PASSES_UP;
    return 0;
}
