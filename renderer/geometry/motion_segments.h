// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/object_element.h"

#include <cstddef>
#include <set>
#include <string>

namespace orca::geometry {

/// How many equal segments of the shutter the vertices of an object move along. Each vertex's motion vectors
/// share the shutter evenly; vertices with different numbers of them meet in the least common multiple.
class MotionSegments {
public:
    void add(const scene::PolygonGroup& group);
    void add(const scene::TriangleList& list);

    /// Motion vectors of one vertex; 0: it does not move.
    [[nodiscard]] static std::size_t of(const scene::PolygonGroup& group, std::size_t vertex);

    /// Segments that all vertices are given, `scene::motionStepsAtMost` at most; 0: nothing moves.
    [[nodiscard]] int common() const;
    /// False when some vertices change direction within the common segments.
    [[nodiscard]] bool followsAll() const;
    /// What was found, for messages: "2, 3".
    [[nodiscard]] std::string counts() const;

private:
    [[nodiscard]] std::size_t leastCommonMultiple() const;

    std::set<std::size_t> counts_; ///< different numbers of motion vectors, all above 0
};

} // namespace orca::geometry
