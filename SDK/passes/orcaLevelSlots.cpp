// SPDX-License-Identifier: Apache-2.0
#include "orcaLevelSlots.h"

#include "orcaColor.h"
#include "orcaColorLanes.h"
#include "orcaPassMask.h"
#include "orcaRenderPassUtilities.h"
#include "orcaVector.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace {

/// True for a record of a pass type that receives the whole picture.
bool isPicture(const PassRecords& passes, unsigned record) {
    return std::any_of(PICTURE_PASSES.begin(), PICTURE_PASSES.end(), [&](PassTypeID type) {
        const PassTypeRun& run = (*passes.types)[type];
        return static_cast<int>(record) >= run.first && static_cast<int>(record) < run.first + run.count;
    });
}

/// True when a record accepts an object that its pass mask excludes, because of the path that sees it.
bool admitsExcluded(const FrameBufferInfo& record, const miState* state) {
    if (traceLevel(state) == 0) return false;
    unsigned needed = 0;
    if (state->reflection_level > 0) needed |= FB_SEEN_IN_REFLECTION;
    if (state->refraction_level > 0) needed |= FB_SEEN_IN_REFRACTION;
    return needed != 0 && (record.flags & needed) == needed;
}

/// A record's level bounds, as two words that are compared fast.
struct LevelBounds {
    explicit LevelBounds(const FrameBufferInfo& record) {
        std::memcpy(&reflections, &record.minReflectionLevel, sizeof reflections);
        std::memcpy(&refractions, &record.minRefractionLevel, sizeof refractions);
    }
    [[nodiscard]] bool areOf(const FrameBufferInfo& record) const {
        return std::memcmp(&record.minReflectionLevel, &reflections, sizeof reflections) == 0 &&
               std::memcmp(&record.minRefractionLevel, &refractions, sizeof refractions) == 0;
    }

    std::uint64_t reflections, refractions; ///< least and most
};
static_assert(offsetof(FrameBufferInfo, lightColor) - offsetof(FrameBufferInfo, minReflectionLevel) ==
              sizeof(LevelBounds));

miColor largerOf(const miColor& a, const miColor& b) {
    return {std::max(a.r, b.r), std::max(a.g, b.g), std::max(a.b, b.b), std::max(a.a, b.a)};
}

} // namespace

void prepareSlots(const miState* state, const PassRecords& passes) {
    if (!passes) return;
    const int reflections = state->reflection_level, refractions = state->refraction_level;
    const int level = reflections + refractions;
    // Most records have the bounds of the one before.
    LevelBounds bounds(passes.records[0]);
    unsigned char mode = boundedLevelMode(passes.records[0], reflections, refractions);
    forEachRecord(passes.count, passes.records, [&](const FrameBufferInfo& record) {
        if (!bounds.areOf(record)) {
            bounds = LevelBounds(record);
            mode = boundedLevelMode(record, reflections, refractions);
        }
        TraceLevelSlot& slot = record.levelSlots[level];
        slot.levelResult = BLACK;
        slot.levelMode = mode;
    });
    const PassMask mask(state->instance);
    if (!mask) return;
    for (unsigned i = 0; i < passes.count; ++i)
        if (!mask.admits(i) && !admitsExcluded(passes.records[i], state))
            passes.records[i].levelSlots[level].levelMode |= TraceLevelSlot::LEVEL_WRITES_SUPPRESSED;
}

miColor accumulateToParent(const miState* state, const PassRecords& passes, const miColor& opacity) {
    const int level = traceLevel(state);
    const miColor covered = opacity; // a copy, because the argument might alias the records
    miColor largest = BLACK;
    // What follows from the coverage so far. Most records are covered as the one before is.
    miColor before = WHITE;
    ColorLanes after = lanesOf(WHITE);
    ColorLanes shares[2]{}; // of the level's result, as it is and weighted by opacity
    forEachRecord(passes.count, passes.records, [&](FrameBufferInfo& record) {
        TraceLevelSlot& slot = record.levelSlots[level];
        if (std::memcmp(&slot.levelAux, &before, sizeof before) != 0) [[unlikely]] {
            before = slot.levelAux;
            const miColor uncovered = WHITE - before;
            largest = largerOf(largest, uncovered);
            after = lanesOf(before + uncovered * covered);
            shares[0] = lanesOf(uncovered);
            shares[1] = lanesOf(covered * uncovered);
        }
        const ColorLanes share = shares[(record.flags & FB_WEIGHT_BY_OPACITY) != 0];
        store(slot.childResult, loaded(slot.childResult) + share * loaded(slot.levelResult));
        record.lightColor = before;
        store(slot.levelAux, after);
    });
    return largest;
}

miColor accumulateSharesToParent(const miState* state, const PassRecords& passes, const miColor& opacity,
                                 const miColor& refracted, const miColor* traced) {
    const int level = traceLevel(state);
    const miColor covered = withAlpha(opacity, luminance(opacity));
    const miColor weights[] = {WHITE, opacity - refracted};
    miColor largest = BLACK;
    const auto accumulate = [&](int i, bool writersSetAlpha) {
        FrameBufferInfo& record = passes.records[i];
        TraceLevelSlot& slot = record.levelSlots[level];
        const miColor aux = slot.levelAux;
        const miColor uncovered = WHITE - aux;
        const bool isWeighted = (record.flags & FB_WEIGHT_BY_OPACITY) != 0;
        const miColor contributed = isWeighted && traced ? traced[i] : BLACK;
        miColor value = weights[isWeighted] * slot.levelResult + contributed;
        if (!writersSetAlpha) {
            const bool open = !(slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED);
            // Only rays feed a record that is closed to the surface.
            value.a = open ? covered.a : std::min(1.0f, slot.levelResult.a + contributed.a);
        }
        slot.childResult += uncovered * value;
        record.lightColor = aux;
        slot.levelAux = aux + uncovered * covered;
        largest = largerOf(largest, uncovered);
    };
    for (const PassType& type : PASS_TYPES) {
        const PassTypeRun& run = (*passes.types)[type.id];
        const bool writersSetAlpha = type.role == PassRole::Volume || type.mixing == PassMixing::Untouched;
        for (int i = run.first; i < run.first + run.count; ++i) accumulate(i, writersSetAlpha);
    }
    return largest;
}

TracedValues::TracedValues(VelabaseState& vela, const PassRecords& passes)
    : values_(passes, "orcaLevelSlots", __LINE__), before_(vela.tracedValues) {
    vela.tracedValues = passes && values_ ? &values_[0] : nullptr;
    if (!vela.tracedValues) return;
    for (unsigned i = 0; i < passes.count; ++i) values_[i] = BLACK;
}

void addTraced(miState* state, VelabaseState& vela, const PassRecords& passes, bool isRefraction,
               const miColor& weight) {
    if (!vela.tracedValues || vela.engineHit != state) {
        tracePassAdd(passes.count, passes.records, state, isRefraction, weight);
        return;
    }
    const int level = traceLevel(state);
    const auto exchange = [&] {
        for (unsigned i = 0; i < passes.count; ++i)
            if (passes.records[i].flags & FB_WEIGHT_BY_OPACITY)
                std::swap(passes.records[i].levelSlots[level].levelResult, vela.tracedValues[i]);
    };
    exchange();
    tracePassAdd(passes.count, passes.records, state, isRefraction, weight);
    exchange();
}

miColor withoutVolumeLight(const miColor& brought, const VelabaseState& vela, const miState* end) {
    const VolumeLight& volumes = vela.volumeLight;
    if (isBlack(brought)) return brought; // also where no ray was cast
    // The renderer may have made the direction of a lens's ray unit length once more, which moves its last
    // bits.
    constexpr miScalar sameDirection = 1e-5f;
    const bool crossedThem =
        end && isNull(end->org - volumes.origin) && length(end->dir - volumes.direction) < sameDirection;
    return crossedThem ? brought - volumes.light : brought;
}

void accumulateBackgroundToParent(const miState* state, const PassRecords& passes,
                                  const miColor& background) {
    if (!passes) return;
    for (const PassTypeID type : PICTURE_PASSES)
        for (const FrameBufferInfo& record : passes.of(type)) {
            TraceLevelSlot& slot = record.levelSlots[traceLevel(state)];
            if (!(slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED))
                slot.childResult += (WHITE - slot.levelAux) * background;
        }
}

void noteBackground(const miState* state, const miState* end, VelabaseState& vela,
                    const miColor& background) {
    if (traceLevel(state) != 0 || !end || end->instance != miNULLTAG) return;
    const miColor& transmission = vela.layerTransmission;
    miColor& sum = end->light_instance == miNULLTAG ? vela.background.environment : vela.background.lamps;
    const miColor own = withoutVolumeLight(background, vela, end);
    sum += withAlpha(transmission * own, luminance(transmission) * own.a);
}

SavedSlots::SavedSlots(const miState* state, const PassRecords& passes)
    : passes_(passes), level_(traceLevel(state)), held_(passes, "orcaLevelSlots", __LINE__), restore_(held_) {
    if (!held_) return;
    for (unsigned i = 0; i < passes_.count; ++i) {
        held_[i] = slot(i);
        slot(i).childResult = BLACK;
        slot(i).levelAux = BLACK;
    }
}

SavedSlots::~SavedSlots() {
    if (!restore_) return;
    for (unsigned i = 0; i < passes_.count; ++i) slot(i) = held_[i];
}

void SavedSlots::showBehind(const miColor& transmission, bool pictureIsWritten) {
    if (!held_) return;
    restore_ = false;
    for (unsigned i = 0; i < passes_.count; ++i) {
        const TraceLevelSlot behind = slot(i);
        slot(i) = held_[i];
        const bool open = !(held_[i].levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED);
        if (pictureIsWritten && open && isPicture(passes_, i)) continue;
        const miColor shown = (WHITE - held_[i].levelAux) * transmission;
        slot(i).childResult += shown * behind.childResult;
        slot(i).levelAux += shown * behind.levelAux;
    }
}
