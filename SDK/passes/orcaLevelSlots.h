// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The records' slots at one trace level, before and after a hit's shader writes to them.

#include "orcaGuards.h"
#include "orcaPassRecords.h"

#include <optional>

/// One element per pass record, for the duration of a shading call. Up to `inPlace` need no allocation.
template <class T, unsigned inPlace = 64>
class PerRecord {
public:
    PerRecord(const PassRecords& passes, const char* file, int line) : elements_(inPlace_) {
        if (passes.count > inPlace)
            elements_ = allocated_.emplace(file, line, static_cast<int>(passes.count)).get();
    }
    PerRecord(const PerRecord&) = delete;
    PerRecord& operator=(const PerRecord&) = delete;

    /// False: no memory for so many records.
    explicit operator bool() const noexcept { return elements_ != nullptr; }
    [[nodiscard]] T& operator[](unsigned i) noexcept { return elements_[i]; }
    [[nodiscard]] const T& operator[](unsigned i) const noexcept { return elements_[i]; }

private:
    std::optional<RendererArray<T>> allocated_;
    T inPlace_[inPlace];
    T* elements_;
};

/// Clears the level's results and opens or closes each slot by the record's bounds and the object's mask.
void prepareSlots(const miState* state, const PassRecords& passes);

/// Accumulates the level's results for the parent level, front to back: each layer is seen through those
/// before it. Returns the largest share, over all records, that those before it leave uncovered.
/// @param opacity of the hit
miColor accumulateToParent(const miState* state, const PassRecords& passes, const miColor& opacity);

/// The same for passes that add up to the picture. Records that are weighted by opacity receive what the
/// surface's shaders wrote times the share that the surface neither refracts nor transmits, and what its rays
/// contributed as it is. Alpha is coverage by surfaces that could have fed the record; custom buffers and
/// volumes keep the alpha that their shaders write.
/// @param refracted the part of the opacity that was traced as refraction
/// @param traced    what rays contributed to the weighted records, one per record; null: nothing
miColor accumulateSharesToParent(const miState* state, const PassRecords& passes, const miColor& opacity,
                                 const miColor& refracted, const miColor* traced);

/// While it exists, what rays from the engine's hit contribute to records that are weighted by opacity is
/// kept apart from what its shaders write.
class TracedValues {
public:
    TracedValues(VelabaseState& vela, const PassRecords& passes);
    TracedValues(const TracedValues&) = delete;
    TracedValues& operator=(const TracedValues&) = delete;

private:
    PerRecord<miColor> values_;
    Restored<miColor*> before_;
};

/// Adds the pass values of a secondary ray from the state, as tracePassAdd does, to the state's TracedValues
/// where it has them.
void addTraced(miState* state, VelabaseState& vela, const PassRecords& passes, bool isRefraction,
               const miColor& weight);

/// What a ray brought, less the light that volumes have added to it: that is in the records already.
/// @param end of the ray: the tracer's most recent child, or the lens shader's state
[[nodiscard]] miColor withoutVolumeLight(const miColor& brought, const VelabaseState& vela,
                                         const miState* end);

/// Accumulates what a transparency ray returned without meeting a surface: the background of the picture, as
/// for an eye ray.
void accumulateBackgroundToParent(const miState* state, const PassRecords& passes, const miColor& background);

/// Adds what an eye ray or its straight continuation returned without meeting a surface to the sample's
/// background, less the light of volumes. Deeper levels are part of the surface that reflects or refracts
/// them.
/// @param end of the ray; what a shader of another library shades there is no background
void noteBackground(const miState* state, const miState* end, VelabaseState& vela, const miColor& background);

/// Saves the level's slots and restores them when the scope ends, so that what is shaded meanwhile leaves no
/// pass value.
class SavedSlots {
public:
    SavedSlots(const miState* state, const PassRecords& passes);
    ~SavedSlots();
    SavedSlots(const SavedSlots&) = delete;
    SavedSlots& operator=(const SavedSlots&) = delete;

    /// Instead of restoring them: what was accumulated meanwhile is behind the hit and is seen with a
    /// transmission. With `pictureIsWritten` the hit itself writes the records of the picture, including what
    /// is behind it, so nothing is added there. Call once.
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
