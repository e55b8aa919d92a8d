// SPDX-License-Identifier: Apache-2.0
#include "render/tile_renderer.h"

#include "base/parallel_for.h"
#include "render/camera/eye_sample.h"
#include "render/camera/state_shaders.h"

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <mutex>
#include <utility>

namespace orca::render {

namespace {

constexpr int automaticTileSize = 32;
constexpr std::size_t workerStackBytes = 64u << 20; // deep ray trees run shaders within shaders

std::vector<PixelWindow> tilesOf(const PixelWindow& window, int size) {
    std::vector<PixelWindow> tiles;
    for (int y = window.yl; y <= window.yh; y += size)
        for (int x = window.xl; x <= window.xh; x += size)
            tiles.push_back({x, y, std::min(x + size - 1, window.xh), std::min(y + size - 1, window.yh)});
    return tiles;
}

void add(RayCounts& to, const RayCounts& from) {
    to.eye += from.eye;
    to.transparent += from.transparent;
    to.reflection += from.reflection;
    to.refraction += from.refraction;
    to.shadow += from.shadow;
    to.gather += from.gather;
    to.occlusion += from.occlusion;
    to.environment += from.environment;
    to.samples += from.samples;
    to.materialCalls += from.materialCalls;
    to.lightCalls += from.lightCalls;
}

} // namespace

struct TileRenderer::Worker {
    Worker(const Frame& frame, int thread) : context(frame, thread) {}
    RenderContext context;
};

TileRenderer::TileRenderer(const Frame& frame, Film& film, std::function<void(double)> progress, int threads,
                           int passesAtMost)
    : frame_(frame),
      film_(film),
      progress_(std::move(progress)),
      filter_(frame.options.filter, frame.options.filter_size_x, frame.options.filter_size_y),
      threads_(threads),
      tileSize_(frame.options.task_size > 0 ? frame.options.task_size : automaticTileSize),
      passesAtMost_(passesAtMost),
      workers_(static_cast<std::size_t>(threads)) {
}

TileRenderer::~TileRenderer() = default;

TileRenderer::Worker& TileRenderer::workerOfThisThread() {
    const int thread = tbb::this_task_arena::current_thread_index();
    std::unique_ptr<Worker>& worker = workers_[static_cast<std::size_t>(thread)];
    if (!worker) {
        worker = std::make_unique<Worker>(frame_, thread);
        openBaseState(worker->context);
    }
    return *worker;
}

void TileRenderer::renderPixel(Worker& worker, const AdaptiveSampler::Pass& pass, int x, int y) {
    film_.prefetch(x, y);
    for (unsigned index = pass.firstSample; index < pass.endSample; ++index) {
        Sampler& sampler = worker.context.sampler;
        sampler.startSample(frame_.seed, x, y, index);
        const float lobe = filter_.hasNegativeLobes() ? sampler.eye(EyeFilterLobe) : 0.0f;
        PixelFilter::Placement placement =
            filter_.place(index, sampler.eye(EyeFilterX), sampler.eye(EyeFilterY), lobe);
        if (pass.endSample == 1 && frame_.options.jitter == 0.0f) placement.x = placement.y = 0.0f;
        renderEyeSample(worker.context, x, y, placement);
        if (frame_.stopped()) return; // its rays may have been refused
        film_.add(film_.pixel(x, y), placement, worker.context.sampleWords.data());
    }
}

void TileRenderer::renderTile(Worker& worker, const AdaptiveSampler::Pass& pass, const PixelWindow& tile) {
    const PixelWindow& window = film_.sampledWindow();
    const auto wanted = [&](int x, int y) {
        return pass.pixels.empty() || pass.pixels[static_cast<std::size_t>(y - window.yl) *
                                                      static_cast<std::size_t>(window.width()) +
                                                  static_cast<std::size_t>(x - window.xl)];
    };
    for (int y = tile.yl; y <= tile.yh; ++y)
        for (int x = tile.xl; x <= tile.xh; ++x) {
            if (frame_.stopped()) return;
            if (wanted(x, y)) renderPixel(worker, pass, x, y);
        }
}

void TileRenderer::report(std::size_t tilesDone, std::size_t tiles) {
    if (!progress_) return;
    // Later passes refine parts of the picture; each counts half of what is left.
    double start = 0.0;
    double share = passesAtMost_ > 1 ? 0.5 : 1.0;
    for (int pass = 0; pass < passesDone_; ++pass) {
        start += share;
        share = pass + 2 < passesAtMost_ ? share / 2 : 1.0 - start;
    }
    progress_(start + share * static_cast<double>(tilesDone) / static_cast<double>(tiles));
}

bool TileRenderer::inParallel(std::size_t count, const std::function<void(Worker&, std::size_t)>& work) {
    const tbb::global_control stackSize(tbb::global_control::thread_stack_size, workerStackBytes);
    const tbb::global_control parallelism(tbb::global_control::max_allowed_parallelism,
                                          static_cast<std::size_t>(threads_));
    std::atomic<std::size_t> done{0};

    tbb::task_arena arena(threads_);
    arena.execute([&] {
        parallelFor(count, 1, [&](std::size_t i, std::size_t) {
            if (frame_.stopped()) return;
            work(workerOfThisThread(), i);
            ++done;
        });
    });
    return done == count && !frame_.stopped(); // work in progress at a stop was cut short
}

bool TileRenderer::render(const AdaptiveSampler::Pass& pass) {
    const std::vector<PixelWindow> tiles = tilesOf(film_.sampledWindow(), tileSize_);
    std::atomic<std::size_t> done{0};
    std::mutex reporting;
    const bool complete = inParallel(tiles.size(), [&](Worker& worker, std::size_t tile) {
        renderTile(worker, pass, tiles[tile]);
        const std::size_t finished = ++done;
        if (const std::unique_lock lock(reporting, std::try_to_lock); lock) report(finished, tiles.size());
    });
    ++passesDone_;
    return complete;
}

bool TileRenderer::forEach(std::size_t count, const std::function<void(RenderContext&, std::size_t)>& work) {
    return inParallel(count, [&](Worker& worker, std::size_t i) { work(worker.context, i); });
}

void TileRenderer::close() {
    for (const std::unique_ptr<Worker>& worker : workers_)
        if (worker) closeBaseState(worker->context);
}

RayCounts TileRenderer::counts() const {
    RayCounts sum;
    for (const std::unique_ptr<Worker>& worker : workers_)
        if (worker) add(sum, worker->context.counts);
    return sum;
}

bool TileRenderer::written(std::size_t buffer) const {
    return std::any_of(workers_.begin(), workers_.end(), [&](const std::unique_ptr<Worker>& worker) {
        return worker && worker->context.written[buffer];
    });
}

} // namespace orca::render
