// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What volumes do to the passes: all that a ray has brought is dimmed, then their own light is added to the
/// layers of volumes and to the picture.

#include "orcaLevelSlots.h"
#include "orcaVolumePrimitive.h"

/// Light of volumes by layer; alpha is the share that each hides of what is behind.
struct VolumeLayers {
    miColor of[VOLUME_LAYER_COUNT]{};

    [[nodiscard]] miColor sum() const;
};

/// The records that receive one ray's light of volumes.
class VolumePasses {
public:
    /// No records for environment rays, which have no level of their own, and while indirect light is
    /// gathered.
    explicit VolumePasses(miState* state);
    VolumePasses(const VolumePasses&) = delete;
    VolumePasses& operator=(const VolumePasses&) = delete;

    [[nodiscard]] const PassRecords& records() const noexcept { return passes_; }
    /// Calls function(record, light, layer) for each record that light of volumes is added to: those of each
    /// layer, and with layer -1 those of the picture. `light` is what the record receives of the current
    /// point.
    template <class Function>
    void each(const Function& function) {
        if (!passes_) return;
        for (int layer = 0; layer < VOLUME_LAYER_COUNT; ++layer) run(VOLUME_PASSES[layer], layer, function);
        for (const PassTypeID type : PICTURE_PASSES) run(type, picture, function);
    }
    static constexpr int picture = -1;

    /// Adds light that is the same for every record.
    void add(const VolumeLayers& light);
    /// Ends a point of the ray: adds what `each` has given, times a weight.
    void endPoint(miScalar weight);
    /// Dims what the ray has brought, then adds what was summed up.
    /// @param transmittance of the ray, alpha included
    void finish(const miColor& transmittance, VelabaseState& vela);

private:
    template <class Function>
    void run(PassTypeID type, int layer, const Function& function) {
        const PassTypeRun& records = (*passes_.types)[type];
        for (int i = records.first; i < records.first + records.count; ++i) {
            const FrameBufferInfo& record = passes_.records[i];
            if (boundedLevelMode(record, state_->reflection_level, state_->refraction_level) &
                TraceLevelSlot::LEVEL_WRITES_SUPPRESSED)
                continue;
            function(record, ofPoint_[static_cast<unsigned>(i)], layer);
        }
    }

    miState* state_;
    PassRecords passes_;
    PerRecord<miColor> sums_, ofPoint_;
};
