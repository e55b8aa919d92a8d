// SPDX-License-Identifier: Apache-2.0
#include "mathematics/spline.h"

#include <algorithm>
#include <cstddef>

namespace orca {

float splineThrough(std::span<const float> values, float t) noexcept {
    if (values.empty()) return 0.0f;
    const std::size_t last = values.size() - 1;
    if (last == 0 || !(t > 0.0f)) return values.front();
    if (t >= 1.0f) return values.back();
    const float scaled = t * static_cast<float>(last);
    const std::size_t i = std::min(static_cast<std::size_t>(scaled), last - 1);
    const float x = scaled - static_cast<float>(i);
    const float b = values[i], c = values[i + 1];
    const float a = i > 0 ? values[i - 1] : 2.0f * b - c;
    const float d = i + 2 <= last ? values[i + 2] : 2.0f * c - b;
    const float slopeAtB = 0.5f * (c - a), slopeAtC = 0.5f * (d - b);
    const float square = 3.0f * (c - b) - 2.0f * slopeAtB - slopeAtC;
    const float cube = 2.0f * (b - c) + slopeAtB + slopeAtC;
    return b + x * (slopeAtB + x * (square + x * cube));
}

} // namespace orca
