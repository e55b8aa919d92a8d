// SPDX-License-Identifier: Apache-2.0
#include "geometry/kernel_reach.h"

#include "base/parallel_for.h"
#include "base/transform.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <vector>

namespace orca::geometry {

namespace {

float reachOf(const miVector& p) {
    return std::max({0.0f, std::abs(p.x), std::abs(p.y), std::abs(p.z)});
}

float reachOf(const HairSegments::Point& p) {
    return std::max({0.0f, std::abs(p.x), std::abs(p.y), std::abs(p.z)}) + p.radius;
}

/// Largest absolute coordinate.
template <class Point>
float extentOf(const std::vector<Point>& points) {
    constexpr std::size_t pointsPerChunk = 16384;
    std::atomic<float> extent{0.0f};
    parallelFor(points.size(), pointsPerChunk, [&](std::size_t first, std::size_t last) {
        float most = 0.0f; // stays, where a coordinate is not a number: the kernel leaves such triangles out
        for (std::size_t i = first; i < last; ++i) most = std::max(most, reachOf(points[i]));
        float known = extent.load();
        while (known < most && !extent.compare_exchange_weak(known, most)) continue;
    });
    return extent;
}

/// What a matrix does at most to a coordinate: scale it, and move it.
struct Growth {
    double scale = 0.0, shift = 0.0;
};

Growth growthOf(const Transform& transform) {
    Growth growth;
    for (std::size_t column = 0; column < 3; ++column) {
        double scale = 0.0;
        for (std::size_t row = 0; row < 3; ++row) scale += std::abs(transform.m[4 * row + column]);
        growth.scale = std::max(growth.scale, scale);
        growth.shift = std::max(growth.shift, std::abs(transform.m[12 + column]));
    }
    return growth;
}

/// The same for one time, by what the placement and its inverse do.
std::string whyOutOfReach(const Growth& toWorld, const Growth& toObject, float extent, RayReach& rays) {
    constexpr auto reach = static_cast<double>(kernelReach);
    const double farthest = toWorld.scale * static_cast<double>(extent) + toWorld.shift;
    if (!(farthest <= reach))
        return fmt::format("it reaches {:.2g} units from the world's origin, and {:g} are possible", farthest,
                           kernelReach);
    // Rays from a thousand million units away must not leave the reach in the object's space.
    constexpr double mostScale = 1e9;
    if (!(toObject.scale <= mostScale && toObject.shift <= reach / 2))
        return fmt::format("it is {:.2g} times as small as its object, and {:g} times are possible",
                           toObject.scale, mostScale);
    const double scale = std::max(toObject.scale, 1.0);
    rays.origin = std::min(rays.origin, static_cast<float>((reach - toObject.shift) / scale));
    rays.direction = std::min(rays.direction, static_cast<float>(reach / scale));
    return {};
}

} // namespace

float extentOf(const Mesh& mesh) {
    float extent = extentOf(mesh.points);
    for (const std::vector<miVector>& later : mesh.laterPoints) extent = std::max(extent, extentOf(later));
    if (mesh.hair) {
        extent = std::max(extent, extentOf(mesh.hair->points));
        for (const auto& later : mesh.hair->laterPoints) extent = std::max(extent, extentOf(later));
    }
    return extent;
}

std::string whyOutOfReach(const MeshInstance& meshInstance, float extent, bool traceMotion, RayReach& rays) {
    if (!(extent <= kernelReach))
        return fmt::format("a vertex is more than {:g} units from the origin", kernelReach);
    if (meshInstance.placedInWorld) return {};
    const miTransform& start = meshInstance.instanceRecord->tf;
    std::string reason = whyOutOfReach(growthOf(Transform::from(start.local_to_global)),
                                       growthOf(Transform::from(start.global_to_local)), extent, rays);
    if (!traceMotion || !meshInstance.transformMoves) return reason;
    const auto checkStep = [&](const miScalar* matrix) {
        const Transform toWorld = Transform::from(matrix);
        bool singular = false;
        const Transform toObject = inverse(toWorld, singular);
        if (reason.empty()) reason = whyOutOfReach(growthOf(toWorld), growthOf(toObject), extent, rays);
    };
    checkStep(meshInstance.localToGlobalAtEnd);
    for (const auto& step : meshInstance.motionPath) checkStep(step.data());
    return reason;
}

} // namespace orca::geometry
