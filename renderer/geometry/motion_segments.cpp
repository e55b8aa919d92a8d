// SPDX-License-Identifier: Apache-2.0
#include "geometry/motion_segments.h"

#include "scene/elements/options_element.h"

#include <algorithm>
#include <numeric>

namespace orca::geometry {

std::size_t MotionSegments::of(const scene::PolygonGroup& group, std::size_t vertex) {
    std::size_t count = 0;
    for (const auto& segment : group.motions) {
        if (segment.empty() || segment[vertex] < 0) break;
        ++count;
    }
    return count;
}

void MotionSegments::add(const scene::PolygonGroup& group) {
    if (group.motions.empty()) return;
    std::size_t last = 0;
    for (std::size_t vertex = 0; vertex < group.position.size(); ++vertex) {
        const std::size_t count = of(group, vertex);
        if (count > 0 && count != last) counts_.insert(last = count);
    }
}

void MotionSegments::add(const scene::TriangleList& list) {
    if (list.layout.motionCount > 0) counts_.insert(static_cast<std::size_t>(list.layout.motionCount));
}

/// Exact up to `scene::motionStepsAtMost`; any larger number beyond.
std::size_t MotionSegments::leastCommonMultiple() const {
    constexpr std::size_t beyond = scene::motionStepsAtMost + 1; // keeps the product small
    std::size_t multiple = 1;
    for (const std::size_t count : counts_) {
        multiple = std::lcm(multiple, std::min(count, beyond));
        if (multiple > scene::motionStepsAtMost) return multiple;
    }
    return multiple;
}

int MotionSegments::common() const {
    if (counts_.empty()) return 0;
    return static_cast<int>(std::min<std::size_t>(leastCommonMultiple(), scene::motionStepsAtMost));
}

bool MotionSegments::followsAll() const {
    return leastCommonMultiple() <= scene::motionStepsAtMost;
}

std::string MotionSegments::counts() const {
    std::string text;
    for (const std::size_t count : counts_) text += (text.empty() ? "" : ", ") + std::to_string(count);
    return text;
}

} // namespace orca::geometry
