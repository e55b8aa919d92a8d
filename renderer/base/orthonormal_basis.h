// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cmath>

namespace orca {

/// Three unit vectors, each perpendicular to the others; right-handed.
struct OrthonormalBasis {
    miVector x, y, z;

    /// (a, b, c) in this basis.
    [[nodiscard]] miVector combine(float a, float b, float c) const {
        return {x.x * a + y.x * b + z.x * c, x.y * a + y.y * b + z.y * c, x.z * a + y.z * b + z.z * c};
    }
};

/// A basis about a unit axis, continuous but for one direction (T. Duff et al., "Building an Orthonormal
/// Basis, Revisited", 2017).
[[nodiscard]] inline OrthonormalBasis basisAbout(const miVector& axis) {
    const float sign = std::copysign(1.0f, axis.z);
    const float p = -1.0f / (sign + axis.z);
    const float q = axis.x * axis.y * p;
    return {{1.0f + sign * axis.x * axis.x * p, sign * q, -sign * axis.x},
            {q, sign + axis.y * axis.y * p, -axis.y},
            axis};
}

} // namespace orca
