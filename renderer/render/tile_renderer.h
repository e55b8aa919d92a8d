// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"
#include "render/film/film.h"
#include "render/sampling/adaptive_sampler.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace orca::render {

/// Renders passes over a picture in tiles, on a number of threads. Each thread keeps one render context from
/// its first tile to `close`.
class TileRenderer {
public:
    /// @param progress gets the share of the work that is done, 0 to 1, from one thread at a time; may be
    /// empty
    /// @param passesAtMost how often `render` is going to be called
    TileRenderer(const Frame& frame, Film& film, std::function<void(double)> progress, int threads,
                 int passesAtMost);
    ~TileRenderer();

    /// False when the render was stopped before all tiles were done.
    bool render(const AdaptiveSampler::Pass& pass);
    /// Calls `work` for 0 to count - 1, in any order, each with its thread's render context. False when the
    /// render was stopped before all were done.
    bool forEach(std::size_t count, const std::function<void(RenderContext&, std::size_t)>& work);
    /// Closes the threads' base states. Once, after the last pass.
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
    std::function<void(double)> progress_;
    PixelFilter filter_;
    int threads_;
    int tileSize_; // pixels
    int passesAtMost_;
    int passesDone_ = 0;
    std::vector<std::unique_ptr<Worker>> workers_;
};

} // namespace orca::render
