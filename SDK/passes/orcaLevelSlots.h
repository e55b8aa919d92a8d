// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The records' slots at one trace level around a hit: prepared before its shader writes, handed up after.

#include "orcaGuards.h"
#include "orcaPassRecords.h"

#include <optional>

/// One element per pass record, for the length of a shading call. Up to `atHand` need no allocation.
template <class T, unsigned atHand = 64>
class PerRecord {
public:
    PerRecord(const PassRecords& passes, const char* file, int line) : elements_(few_) {
        if (passes.count > atHand)
            elements_ = many_.emplace(file, line, static_cast<int>(passes.count)).get();
    }
    PerRecord(const PerRecord&) = delete;
    PerRecord& operator=(const PerRecord&) = delete;

    /// False: no memory for so many records.
    explicit operator bool() const noexcept { return elements_ != nullptr; }
    [[nodiscard]] T& operator[](unsigned i) noexcept { return elements_[i]; }
    [[nodiscard]] const T& operator[](unsigned i) const noexcept { return elements_[i]; }

private:
    std::optional<RendererArray<T>> many_;
    T few_[atHand];
    T* elements_;
};

/// Clears the level's results and opens or closes each slot by the record's bounds and the object's mask.
void prepareSlots(const miState* state, const PassRecords& passes);

/// Hands the level's results up, front to back: each layer is seen through those before it. What the surface
/// traced as refraction counts as transparent for the records that want to be weighted by opacity, though
/// nothing is left for the renderer to see through.
/// @param opacity   of the hit
/// @param refracted the part of it that was traced as refraction
void accumulateToParent(const miState* state, const PassRecords& passes, const miColor& opacity,
                        const miColor& refracted);

/// What a transparency ray found that hands up nothing itself is the background of the picture, as for the
/// eye's ray.
void accumulateBackgroundToParent(const miState* state, const PassRecords& passes, const miColor& background);

/// The level's slots as they were, put back when the scope ends: what is shaded meanwhile leaves no pass
/// value.
class SavedSlots {
public:
    SavedSlots(const miState* state, const PassRecords& passes);
    ~SavedSlots();
    SavedSlots(const SavedSlots&) = delete;
    SavedSlots& operator=(const SavedSlots&) = delete;

    /// Instead: what was handed up meanwhile lies behind the hit and shows with a transmission. With
    /// `pictureIsWritten` the hit itself writes the records of the picture, what lies behind included, so
    /// that nothing is added there. Call once.
    void showBehind(const miColor& transmission, bool pictureIsWritten);

private:
    [[nodiscard]] TraceLevelSlot& slot(unsigned record) const noexcept {
        return passes_.records[record].levelSlots[level_];
    }

    const PassRecords& passes_;
    int level_;
    PerRecord<TraceLevelSlot> held_;
    bool restore_;
};
