// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <vector>

namespace orca::geometry {

/// Times of the shutter at which some placement is flat: where a thing is turned inside out, or by half a
/// turn in one straight step, its blended matrix has no inverse for an instant, and no ray can be taken into
/// its space. Rays of that instant are cast a millionth of the shutter beside it.
class SingularTimes {
public:
    /// Adds those of matrices that are blended entry by entry from `start` to `end`, over the part of the
    /// shutter from `startTime` to `endTime`.
    void add(const miScalar* start, const miScalar* end, float startTime, float endTime);
    /// To be called after the last `add`.
    void sort();

    /// `time`, or one close by.
    [[nodiscard]] float avoidedBy(float time) const { return times_.empty() ? time : beside(time); }

private:
    [[nodiscard]] float beside(float time) const;

    std::vector<float> times_;
};

} // namespace orca::geometry
