// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/orthonormal_basis.h"

#include <cmath>
#include <numbers>

namespace orca::render {

/// Unit direction in the hemisphere of the basis' z axis.
/// @param sine of the angle to the axis
/// @param turn azimuth, 0 to 1 for a full circle
[[nodiscard]] inline miVector hemisphereDirection(const OrthonormalBasis& basis, float sine, float turn) {
    const float angle = 2.0f * std::numbers::pi_v<float> * turn;
    miVector d = basis.combine(sine * std::cos(angle), sine * std::sin(angle),
                               std::sqrt(std::fmax(0.0f, 1.0f - sine * sine)));
    mi_vector_normalize(&d);
    return d;
}

} // namespace orca::render
