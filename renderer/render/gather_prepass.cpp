// SPDX-License-Identifier: Apache-2.0
#include "render/gather_prepass.h"

#include "render/camera/eye_sample.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>
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

bool gatherPrepass(TileRenderer& tiles, const Frame& frame, const GatherCaches& caches, RenderState& state) {
    if (frame.gather.spacing == 0 || state.gatherIsDone()) return true;
    const auto start = std::chrono::steady_clock::now();
    tiles.begin(RenderPhase::Gather);
    const int width = frame.camera.x_resolution, height = frame.camera.y_resolution;
    // The first points find no records of bounces and cost the most: begin with the picture's corners.
    int coarsest = frame.gather.spacing;
    while (coarsest < std::max(width, height)) coarsest *= 2;
    int spacing = state.gridSpacing() >= 0 ? state.gridSpacing() : coarsest;
    std::size_t all = 0, done = 0; // points
    for (int grid = coarsest; grid >= frame.gather.spacing; grid /= 2) {
        const std::size_t points = gridPoints(width, height, grid, grid == coarsest).size();
        all += points;
        if (grid > spacing) done += points;
    }
    const auto share = [all](std::size_t points) {
        return static_cast<double>(points) / static_cast<double>(all);
    };
    for (; spacing >= frame.gather.spacing; spacing /= 2) {
        const std::vector<GridPoint> points = gridPoints(width, height, spacing, spacing == coarsest);
        state.beginGrid(spacing, points.size());
        const auto gather = [&](RenderContext& context, std::size_t i) {
            if (state.isFinished(i)) return;
            context.sampler.startSample(frame.seed, points[i].x, points[i].y, 0);
            context.pendingGatherRecords = &state.pending(i);
            renderEyeSample(context, points[i].x, points[i].y, {0.0f, 0.0f, 1.0f}, gatherPhase);
            context.pendingGatherRecords = nullptr;
        };
        const auto finish = [&](std::size_t i, const RenderTally& since) { state.finishPoint(i, since); };
        const std::size_t before = std::exchange(done, done + points.size());
        if (!tiles.forEach(points.size(), RenderPhase::Gather, share(before), share(done), gather, finish))
            return false;
        state.finishGrid();
    }
    state.finishGather();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    frame.log.info("RNDR", "gather prepass: {} records, and {} between bounces, in {:.1f} s",
                   caches.of(0).records().size(), caches.of(1).records().size(), taken.count());
    return true;
}

} // namespace orca::render
