// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaVolumeMarch.h"

/// What a march has found along a ray: how much arrives from each place, and how much of it is scattered.
class RayProfile {
public:
    /// @param before transmittance up to the step. The last part grows when there is no room for more.
    void add(const VolumeStep& step, const miColor& before);

    /// Nothing scatters.
    [[nodiscard]] bool empty() const noexcept { return count_ == 0 || !(parts_[count_ - 1].sumAfter > 0.0f); }
    /// From the first medium to the end of the last. Not of an empty profile.
    [[nodiscard]] VolumeSpan span() const noexcept { return {parts_[0].from, parts_[count_ - 1].to}; }
    [[nodiscard]] miColor transmittanceUpTo(miScalar distance) const;
    /// Luminance of white light that is scattered at a distance, per scene unit, and arrives; 0 where nothing
    /// scatters.
    [[nodiscard]] miScalar importanceAt(miScalar distance) const;
    /// Integral of the importance from the ray's origin.
    [[nodiscard]] miScalar sumUpTo(miScalar distance) const;
    /// The distance up to which the integral has that value.
    [[nodiscard]] miScalar distanceOfSum(miScalar sum) const;

private:
    struct Part {
        miScalar from, to;
        miColor before, extinction;
        miScalar importance, thinning; ///< at `from`, and how it falls off: exponentially, per scene unit
        miScalar sumBefore, sumAfter;

        [[nodiscard]] miScalar integral(miScalar distance) const;
    };
    static constexpr int mostParts = 1024;

    /// The last part that begins at the distance or before; null: none does.
    [[nodiscard]] const Part* partAt(miScalar distance) const;

    Part parts_[mostParts];
    int count_ = 0;
};
