// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/checkpoint/render_state.h"
#include "render/context/render_context.h"
#include "render/film/deep_film.h"
#include "render/film/film.h"
#include "render/ray_meter.h"
#include "render/render_settings.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace orca::render {

/// Renders passes over a picture in tiles, on a number of threads. Each thread keeps one render context from
/// its first tile to `close`.
class TileRenderer {
public:
    /// @param state of the film's render
    /// @param settings of which the sample range, the meter of rays and the progress callback count
    /// @param passesAtMost how often `renderPass` is going to be called
    /// @param deep gets what the samples see, which the frame has recorded; may be null
    TileRenderer(const Frame& frame, Film& film, RenderState& state, const RenderSettings& settings,
                 int threads, int passesAtMost, DeepFilm* deep = nullptr);
    ~TileRenderer();

    /// Edge of a tile where the options leave it to the renderer, pixels.
    static constexpr int automaticTileSize = 32;

    /// Renders what is not finished of the state's pass. False when the render was stopped before all tiles
    /// were done.
    bool renderPass();
    /// Calls `work` for 0 to count - 1, in any order, each with its thread's render context. `finish` gets
    /// what the work took, unless the render was stopped meanwhile. False when it was stopped before all were
    /// done. Of the phase's progress this is the share `from` to `to`.
    bool forEach(std::size_t count, RenderPhase phase, double from, double to,
                 const std::function<void(RenderContext&, std::size_t)>& work,
                 const std::function<void(std::size_t, const RenderTally&)>& finish);
    /// Tells that a phase begins.
    void begin(RenderPhase phase);
    /// Closes the threads' base states. Once, after the last pass.
    void close();

    /// Of this process: unfinished pixels count, those of earlier runs do not.
    [[nodiscard]] RenderTally tally() const;

private:
    struct Worker;
    bool renderSteps(Worker& worker, int x, int y, int lastStep, float* pixel);
    bool renderRange(Worker& worker, int x, int y, float* pixel);
    bool addBlock(Worker& worker, int x, int y, image::SampleRange samples, float* sums, bool areEmpty);
    bool addSample(Worker& worker, int x, int y, unsigned index, float* sums);
    bool addVisibilitySample(Worker& worker, int x, int y, unsigned index, float* sums);
    void renderTile(Worker& worker, std::size_t tile);
    Worker& workerOfThisThread();
    bool inParallel(std::size_t count, const std::function<void(Worker&, std::size_t)>& work);
    void report(RenderPhase phase, double share);
    [[nodiscard]] double shareOfPasses(std::size_t tilesDone) const;

    const Frame& frame_;
    Film& film_;
    RenderState& state_;
    DeepFilm* deep_;
    RayMeter* rays_;
    ProgressCallback progress_;
    std::mutex reporting_;
    std::atomic<std::uint64_t> samples_{0};
    PixelFilter filter_;
    std::vector<image::SampleRange> range_; // blocks of all that is rendered of each pixel; empty: steps
    int threads_;
    int passesAtMost_;
    int passesDone_ = 0;
    std::vector<std::unique_ptr<Worker>> workers_;
};

} // namespace orca::render
