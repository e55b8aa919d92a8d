// SPDX-License-Identifier: Apache-2.0
#include "geometry/hair/hair_segments.h"

#include "base/parallel_for.h"

#include <embree3/rtcore.h>

#include <atomic>
#include <cmath>

namespace orca::geometry {

namespace {

using Point = HairSegments::Point;

constexpr std::size_t hairsPerChunk = 256;

[[nodiscard]] Point mix(const Point& a, const Point& b, float part) {
    return {a.x + part * (b.x - a.x), a.y + part * (b.y - a.y), a.z + part * (b.z - a.z),
            a.radius + part * (b.radius - a.radius)};
}

/// Writes the control points of a hair. A quadratic curve becomes the cubic one of the same shape.
template <class PointOf>
void writePoints(int degree, std::size_t vertices, const PointOf& pointOf, Point* to) {
    if (degree != 2) {
        for (std::size_t i = 0; i < vertices; ++i) *to++ = pointOf(i);
        return;
    }
    Point start = pointOf(0);
    *to++ = start;
    for (std::size_t i = 1; i + 1 < vertices; i += 2) {
        const Point middle = pointOf(i), end = pointOf(i + 1);
        *to++ = mix(start, middle, 2.0f / 3.0f);
        *to++ = mix(end, middle, 2.0f / 3.0f);
        *to++ = end;
        start = end;
    }
}

} // namespace

HairSegments buildHairSegments(const scene::ObjectElement& object, Log& log) {
    const scene::HairList& list = *object.hair;
    HairSegments made;
    made.list = &list;
    made.degree = list.degree == 1 ? 1 : 3;
    const auto sceneDegree = static_cast<std::size_t>(list.degree),
               degree = static_cast<std::size_t>(made.degree);

    made.firstSegments.reserve(list.hairs.size() + 1);
    std::uint32_t segments = 0;
    for (const scene::HairList::Hair& hair : list.hairs) {
        made.firstSegments.push_back(segments);
        segments += static_cast<std::uint32_t>((hair.vertices - 1) / sceneDegree);
    }
    made.firstSegments.push_back(segments);
    made.firstPoints.resize(segments);
    if (list.round && degree == 1) made.neighbours.resize(segments);
    // Every hair has one point more than its segments need.
    const std::size_t points = segments * degree + list.hairs.size();
    made.points.resize(points);
    made.laterPoints.assign(static_cast<std::size_t>(list.vertexLayout.motionCount),
                            std::vector<Point>(points));

    std::atomic<std::size_t> badRadii{0};
    parallelFor(list.hairs.size(), hairsPerChunk, [&](std::size_t from, std::size_t to) {
        for (std::size_t h = from; h < to; ++h) {
            const scene::HairList::Hair& hair = list.hairs[h];
            const std::uint32_t firstSegment = made.firstSegments[h], endSegment = made.firstSegments[h + 1];
            const std::size_t firstPoint = firstSegment * degree + h;
            for (std::uint32_t s = firstSegment; s < endSegment; ++s) {
                made.firstPoints[s] = static_cast<std::uint32_t>(firstPoint + (s - firstSegment) * degree);
                if (made.neighbours.empty()) continue;
                made.neighbours[s] =
                    static_cast<std::uint8_t>((s > firstSegment ? RTC_CURVE_FLAG_NEIGHBOR_LEFT : 0) |
                                              (s + 1 < endSegment ? RTC_CURVE_FLAG_NEIGHBOR_RIGHT : 0));
            }
            bool isBad = false;
            for (std::size_t step = 0; step <= made.laterPoints.size(); ++step) {
                const auto pointOf = [&](std::size_t vertex) {
                    const float* const v = list.vertexOf(hair, vertex);
                    const float radius = list.radiusOf(hair, vertex);
                    Point point{v[0], v[1], v[2], radius >= 0.0f ? radius : 0.0f};
                    isBad = isBad || !(radius >= 0.0f);
                    for (std::size_t i = 0; i < step; ++i) {
                        const float* const motion = v + list.vertexLayout.motion + 3 * i;
                        point.x += motion[0];
                        point.y += motion[1];
                        point.z += motion[2];
                    }
                    return point;
                };
                auto& steps = step == 0 ? made.points : made.laterPoints[step - 1];
                writePoints(list.degree, hair.vertices, pointOf, &steps[firstPoint]);
            }
            if (isBad) ++badRadii;
        }
    });
    if (badRadii > 0)
        log.errorAt(object.location, "GEOM",
                    "object \"{}\": {} hairs have a radius below 0; they are too thin to be seen there",
                    object.name, badRadii.load());
    return made;
}

} // namespace orca::geometry
