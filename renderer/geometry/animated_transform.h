// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/transform.h"

#include <array>

namespace orca::geometry {

/// The way from one placement to another, as somebody who animates means it: rotation, stretch (scale and
/// shear, along axes of the thing itself) and translation change evenly, each for itself, so that a thing
/// that turns keeps its size. After Shoemake and Duff, "Matrix Animation and Polar Decomposition" (1992); the
/// rotation goes the shorter way round (Shoemake, "Animating Rotation with Quaternion Curves", 1985).
///
/// Placements between which there is no such way are blended entry by entry: where one of them mirrors and
/// the other does not, has perspective, or flattens.
class AnimatedTransform {
public:
    /// Both take points from local space to the parent's.
    AnimatedTransform(const Transform& start, const Transform& end);

    /// @param part 0 at the start, 1 at the end
    [[nodiscard]] Transform at(double part) const;

private:
    using Matrix3 = std::array<double, 9>; ///< row-major, row vectors
    using Quaternion = std::array<double, 4>;

    /// The upper left part of a placement is the stretch, then the rotation.
    struct Parts {
        Matrix3 stretch;
        Quaternion rotation; ///< unit
    };
    /// False where there are none.
    [[nodiscard]] static bool decompose(const Transform& transform, Parts& parts);

    Transform start_, end_;
    Parts atStart_, atEnd_;
    bool hasParts_;
};

} // namespace orca::geometry
