// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaLevelSlots.h"

/// Pass values of the shaders that a mixing shader evaluates. Each writes as if it were the surface; the
/// mixer takes from that what belongs to the colour it uses, weighted as it weights the colour, and drops the
/// rest (the same shader may run once for its colour and again for its transparency). So the component passes
/// add up to the mixed picture.
///
/// Normals and facing ratios are not mixed: the first that is written stays. Custom buffers are not changed:
/// their writers define how they combine.
class LayerWrites {
public:
    /// @param pictureIsWritten the mixer writes the picture's passes itself
    LayerWrites(const miState* state, const VelabaseState& vela, const PassRecords& passes,
                bool pictureIsWritten);
    LayerWrites(const LayerWrites&) = delete;
    LayerWrites& operator=(const LayerWrites&) = delete;

    /// Sets aside what was written since the last call; what had been set aside before is dropped.
    /// @param opacity of the shader that wrote
    void putAside(const miColor& opacity);
    /// Drops what was written since the last call, and what had been set aside.
    void drop();
    /// Keeps what was written since the last call, or else what had been set aside.
    /// @param weight  of the colour in the mixture
    /// @param opacity of the shader that wrote, not yet applied to the records that are weighted by opacity
    void keep(const miColor& weight, const miColor& opacity);
    /// Writes the mixture to the level's results. Once, after the last.
    /// @param opacity of the mixture, by which those records will be weighted
    void finish(const miColor& opacity);

private:
    /// What one record receives: what shaders write, and what rays hand up to it where that is kept apart.
    struct Values {
        miColor written, traced;
    };
    struct Record {
        Values before; // what the level held
        Values aside;
        Values sum;
    };

    template <class Function>
    void forMixed(const Function& function);

    [[nodiscard]] Values held(unsigned record) const;
    void hold(unsigned record, const Values& values);
    /// What the record has received since the last call, which is taken from it.
    [[nodiscard]] Values taken(unsigned record);

    const PassRecords& passes_;
    miColor* traced_; // one per record; null: rays hand up to the level's results
    int level_;
    bool pictureIsWritten_;
    bool hasAside_ = false;
    miColor opacityAside_;
    PerRecord<Record> records_;
};
