// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <half.h>

#include <algorithm>
#include <cmath>

namespace orca::image {

/// Finite values stay finite: a highlight above the largest half must not become an infinity that no filter
/// of a compositor survives.
[[nodiscard]] inline half toHalf(float value) {
    constexpr float largest = 65504.0f;
    return std::isfinite(value) ? half(std::clamp(value, -largest, largest)) : half(value);
}

} // namespace orca::image
