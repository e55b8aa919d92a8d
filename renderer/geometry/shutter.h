// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace orca::geometry {

/// Where in the shutter a time is, cut into equal segments.
struct ShutterSegment {
    std::size_t index;
    float part; ///< of the segment, 0 to 1

    /// `time` is 0 to 1, `segments` at least 1. As the ray-tracing kernel reckons, so that both agree.
    [[nodiscard]] static ShutterSegment at(float time, std::size_t segments) {
        const float scaled = time * static_cast<float>(segments);
        const float index = std::clamp(std::floor(scaled), 0.0f, static_cast<float>(segments - 1));
        return {static_cast<std::size_t>(index), scaled - index};
    }
};

} // namespace orca::geometry
