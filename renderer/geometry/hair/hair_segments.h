// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/elements/object_element.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orca::geometry {

/// The hairs of one object as curve segments for the ray-tracing kernel, in object space: lines of two
/// control points or cubic Bezier curves of four. Segments of a hair follow each other and share their ends.
struct HairSegments {
    struct Point {
        float x, y, z, radius;
    };
    const scene::HairList* list; ///< must outlive this
    int degree = 1;              ///< of the segments: 1 or 3; that of the scene is 2 or 3 for the latter
    std::vector<Point> points;
    /// Points at the ends of equal segments of the unit shutter, the last at its end; empty: does not deform.
    std::vector<std::vector<Point>> laterPoints;
    std::vector<std::uint32_t> firstPoints;   ///< per segment, its first control point
    std::vector<std::uint32_t> firstSegments; ///< per hair, and the number of segments
    std::vector<std::uint8_t> neighbours;     ///< per segment, RTCCurveFlags; of round lines only

    [[nodiscard]] std::size_t segmentCount() const { return firstPoints.size(); }
    [[nodiscard]] std::size_t hairOf(std::uint32_t segment) const {
        const auto next = std::upper_bound(firstSegments.begin(), firstSegments.end(), segment);
        return static_cast<std::size_t>(next - firstSegments.begin()) - 1;
    }
    /// True for a segment, and for the next ones of its hair.
    [[nodiscard]] bool touch(std::uint32_t segment, std::uint32_t other) const {
        const std::uint32_t low = std::min(segment, other), high = std::max(segment, other);
        return low == high || (high - low == 1 &&
                               firstPoints[high] - firstPoints[low] == static_cast<std::uint32_t>(degree));
    }
};

/// In parallel. Hairs whose radius is negative or not finite get a message each object, and are as thin as a
/// line.
[[nodiscard]] HairSegments buildHairSegments(const scene::ObjectElement& object, Log& log);

} // namespace orca::geometry
