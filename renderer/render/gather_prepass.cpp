// SPDX-License-Identifier: Apache-2.0
#include "render/gather_prepass.h"

#include "render/camera/eye_sample.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace orca::render {

namespace {

struct GridPoint {
    int x, y; // pixel
};

/// The pixels of a grid that no grid of twice the spacing has, or all.
std::vector<GridPoint> gridPoints(int width, int height, int spacing, bool all) {
    std::vector<GridPoint> points;
    // One more row and column lie on the picture's far edges.
    for (int y = 0; y < height + spacing - 1; y += spacing)
        for (int x = 0; x < width + spacing - 1; x += spacing) {
            const bool coarser = (x / spacing) % 2 == 0 && (y / spacing) % 2 == 0;
            if (all || !coarser) points.push_back({std::min(x, width - 1), std::min(y, height - 1)});
        }
    return points;
}

} // namespace

bool gatherPrepass(TileRenderer& tiles, const Frame& frame, GatherCaches& caches) {
    if (frame.gather.spacing == 0) return true;
    const auto start = std::chrono::steady_clock::now();
    const int width = frame.camera.x_resolution, height = frame.camera.y_resolution;
    // The first points find no records of bounces and cost the most: begin with the picture's corners.
    int spacing = frame.gather.spacing;
    while (spacing < std::max(width, height)) spacing *= 2;
    for (bool first = true; spacing >= frame.gather.spacing; spacing /= 2, first = false) {
        const std::vector<GridPoint> points = gridPoints(width, height, spacing, first);
        std::vector<PendingGatherRecords> pending(points.size());
        const bool complete = tiles.forEach(points.size(), [&](RenderContext& context, std::size_t i) {
            context.sampler.startSample(frame.seed, points[i].x, points[i].y, 0);
            context.pendingGatherRecords = &pending[i];
            renderEyeSample(context, points[i].x, points[i].y, {0.0f, 0.0f, 1.0f}, gatherPhase);
            context.pendingGatherRecords = nullptr;
        });
        if (!complete) return false;
        for (const PendingGatherRecords& ofPoint : pending) caches.add(ofPoint);
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    frame.log.info("RNDR", "gather prepass: {} records, and {} between bounces, in {:.1f} s",
                   caches.of(0).size(), caches.of(1).size(), taken.count());
    return true;
}

} // namespace orca::render
