// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"
#include "render/film/film.h"
#include "render/sampling/adaptive_sampler.h"
#include "render/session.h"

#include <functional>
#include <memory>
#include <vector>

namespace orca::render {

/// Renders passes over a picture in tiles, on as many threads as asked for. Each thread keeps one render
/// state from its first tile to `close`.
class TileRenderer {
public:
    TileRenderer(const Frame& frame, Film& film, const RenderSettings& settings, int threads,
                 int passesAtMost);
    ~TileRenderer();

    /// False when the render was stopped before all tiles were done.
    bool render(const AdaptiveSampler::Pass& pass);
    /// Calls `work` for 0 to count - 1, in any order, each on some thread's render state. False when the
    /// render was stopped before all were done.
    bool forEach(std::size_t count, const std::function<void(RenderContext&, std::size_t)>& work);
    /// Calls `work`, which may use the render's threads for itself.
    void inArena(const std::function<void()>& work);
    /// Ends the threads' render states. Once, after the last pass.
    void close();

    [[nodiscard]] RayCounts counts() const;
    /// True when a shader put a value into the buffer.
    [[nodiscard]] bool written(std::size_t buffer) const;

private:
    struct Worker;
    void renderPixel(Worker& worker, const AdaptiveSampler::Pass& pass, int x, int y);
    void renderTile(Worker& worker, const AdaptiveSampler::Pass& pass, const PixelWindow& tile);
    Worker& workerOfThisThread();
    bool inParallel(std::size_t count, const std::function<void(Worker&, std::size_t)>& work);
    void report(std::size_t tilesDone, std::size_t tiles);

    const Frame& frame_;
    Film& film_;
    const RenderSettings& settings_;
    PixelFilter filter_;
    int threads_;
    int tileSize_; // pixels
    int passesAtMost_;
    int passesDone_ = 0;
    std::vector<std::unique_ptr<Worker>> workers_;
};

} // namespace orca::render
