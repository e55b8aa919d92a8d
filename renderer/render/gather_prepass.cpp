// SPDX-License-Identifier: Apache-2.0
#include "render/gather_prepass.h"

#include "render/camera/eye_sample.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

struct GridPoint {
    int x, y; // pixel
};

/// The pixels of a grid that no grid of twice the spacing has, or all.
std::vector<GridPoint> gridPoints(int width, int height, int spacing, bool all) {
    std::vector<GridPoint> points;
    // One more row and column stand on the picture's far edges.
    for (int y = 0; y < height + spacing - 1; y += spacing)
        for (int x = 0; x < width + spacing - 1; x += spacing) {
            const bool coarser = (x / spacing) % 2 == 0 && (y / spacing) % 2 == 0;
            if (all || !coarser) points.push_back({std::min(x, width - 1), std::min(y, height - 1)});
        }
    return points;
}

} // namespace

int gatherSpacing(float density) {
    if (!(density > 0.0f)) return 0;
    return std::clamp(static_cast<int>(std::lround(4.0f / std::sqrt(density))), 1, 64);
}

bool gatherPrepass(TileRenderer& tiles, const Frame& frame, GatherCaches& caches) {
    int spacing = frame.gatherSpacing;
    // The first points find no light between bounces yet and cost the most: begin with the picture's corners.
    while (spacing < std::max(frame.camera.x_resolution, frame.camera.y_resolution)) spacing *= 2;
    for (bool first = true; spacing >= frame.gatherSpacing; spacing /= 2, first = false) {
        const std::vector<GridPoint> points =
            gridPoints(frame.camera.x_resolution, frame.camera.y_resolution, spacing, first);
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
    return true;
}

} // namespace orca::render
