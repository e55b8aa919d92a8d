// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

namespace orca {

/// Cubic curve through values at equal distances, the first at `t` 0 and the last at 1, with a continuous
/// slope (E. Catmull, R. Rom, "A Class of Local Interpolating Splines", 1974). At its ends it goes on as
/// straight as it arrives; values on a line give that line. `t` is limited to 0..1; 0 without values.
[[nodiscard]] float splineThrough(std::span<const float> values, float t) noexcept;

} // namespace orca
