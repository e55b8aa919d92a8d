// SPDX-License-Identifier: Apache-2.0
#include "geometry/kernel_reach.h"

#include "base/parallel_for.h"
#include "base/transform.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <span>

namespace orca::geometry {

namespace {

/// Largest absolute coordinate.
float extentOf(std::span<const miVector> points) {
    constexpr std::size_t pointsPerChunk = 16384;
    std::atomic<float> extent{0.0f};
    parallelFor(points.size(), pointsPerChunk, [&](std::size_t first, std::size_t last) {
        float most = 0.0f; // stays, where a coordinate is not a number: the kernel leaves such triangles out
        for (std::size_t i = first; i < last; ++i)
            for (const float coordinate : {points[i].x, points[i].y, points[i].z})
                most = std::max(most, std::abs(coordinate));
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

} // namespace

float extentOf(const Mesh& mesh) {
    float extent = extentOf(mesh.points);
    for (const std::vector<miVector>& later : mesh.laterPoints) extent = std::max(extent, extentOf(later));
    return extent;
}

std::string whyOutOfReach(const MeshInstance& meshInstance, float extent, bool traceMotion, RayReach& rays) {
    if (!(extent <= kernelReach))
        return fmt::format("a vertex is more than {:g} units from the origin", kernelReach);
    if (meshInstance.placedInWorld) return {};
    std::vector<const miScalar*> placements{meshInstance.instanceRecord->tf.local_to_global};
    if (traceMotion && meshInstance.transformMoves) {
        placements.push_back(meshInstance.localToGlobalAtEnd);
        for (const auto& step : meshInstance.motionPath) placements.push_back(step.data());
    }
    for (const miScalar* const matrix : placements) {
        const Transform toWorld = Transform::from(matrix);
        const Growth out = growthOf(toWorld);
        const double farthest = out.scale * static_cast<double>(extent) + out.shift;
        if (!(farthest <= static_cast<double>(kernelReach)))
            return fmt::format("it reaches {:.2g} units from the world's origin, and {:g} are possible",
                               farthest, kernelReach);
        bool singular = false;
        const Growth in = growthOf(inverse(toWorld, singular));
        if (singular) continue; // moves as its ends do not
        // Rays from a thousand million units away must not leave the reach in the object's space.
        constexpr double mostScale = 1e9;
        if (!(in.scale <= mostScale && in.shift <= static_cast<double>(kernelReach) / 2))
            return fmt::format("it is {:.2g} times as small as its object, and {:g} times are possible",
                               in.scale, mostScale);
        const double scale = std::max(in.scale, 1.0);
        rays.origin =
            std::min(rays.origin, static_cast<float>((static_cast<double>(kernelReach) - in.shift) / scale));
        rays.direction =
            std::min(rays.direction, static_cast<float>(static_cast<double>(kernelReach) / scale));
    }
    return {};
}

} // namespace orca::geometry
