// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/orthonormal_basis.h"

#include <cmath>
#include <numbers>

namespace orca::render {

/// Unit direction about the basis' z at sine `sine` of the angle to it, `turn` (0 to 1) of the way round.
[[nodiscard]] inline miVector hemisphereDirection(const OrthonormalBasis& basis, float sine, float turn) {
    const float angle = 2.0f * std::numbers::pi_v<float> * turn;
    miVector d = basis.combine(sine * std::cos(angle), sine * std::sin(angle),
                               std::sqrt(std::fmax(0.0f, 1.0f - sine * sine)));
    mi_vector_normalize(&d);
    return d;
}

} // namespace orca::render
