// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <vector>

namespace orca::geometry {

/// Times of the shutter at which the matrix of some instance is singular: where an object is turned inside
/// out, or by 180 degrees in one linear step, its blended matrix has no inverse for an instant, and no ray
/// can be transformed into its space. Rays of that instant are traced about a millionth of the shutter later.
class SingularTimes {
public:
    /// Adds those of matrices that are blended entry by entry from `start` to `end`, over the part of the
    /// shutter from `startTime` to `endTime`.
    void add(const miScalar* start, const miScalar* end, float startTime, float endTime);
    /// To be called after the last `add`.
    void sort();

    /// `time`, or the next one that is not singular.
    [[nodiscard]] float avoidedBy(float time) const { return times_.empty() ? time : nextRegular(time); }

private:
    [[nodiscard]] float nextRegular(float time) const;

    std::vector<float> times_;
};

} // namespace orca::geometry
