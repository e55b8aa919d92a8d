// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/transform.h"

#include <array>

namespace orca::geometry {

/// A transform between two keys, interpolated as an animator expects: rotation, stretch (scale and shear,
/// along axes of the object itself) and translation each change evenly, so that a turning object keeps its
/// size. After Shoemake and Duff, "Matrix Animation and Polar Decomposition" (1992); the rotation takes the
/// shorter arc (Shoemake, "Animating Rotation with Quaternion Curves", 1985).
///
/// Keys that have no such decomposition are blended entry by entry: where one of them mirrors and the other
/// does not, has perspective, or is singular.
class AnimatedTransform {
public:
    /// Both keys take points from local space to the parent's.
    AnimatedTransform(const Transform& firstKey, const Transform& secondKey);

    /// @param part 0 at the first key, 1 at the second
    [[nodiscard]] Transform at(double part) const;

private:
    /// The upper left part of the transform is the stretch, then the rotation.
    struct Key {
        Transform transform;
        std::array<double, 9> stretch{};  ///< row-major, row vectors
        std::array<double, 4> rotation{}; ///< unit quaternion: real part, then x, y, z
    };
    /// Fills stretch and rotation; false where there are none.
    [[nodiscard]] static bool decompose(Key& key);

    Key first_, second_;
    bool decomposed_; ///< false: blended entry by entry
};

} // namespace orca::geometry
