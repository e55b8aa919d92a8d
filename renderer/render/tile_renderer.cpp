// SPDX-License-Identifier: Apache-2.0
#include "render/tile_renderer.h"

#include "base/parallel_for.h"
#include "render/camera/eye_sample.h"
#include "render/camera/state_shaders.h"
#include "render/context/seen_surfaces.h"
#include "render/context/shaded_layers.h"
#include "render/film/sample_steps.h"

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <mutex>
#include <utility>

namespace orca::render {

namespace {

constexpr std::size_t workerStackBytes = 64u << 20; // deep ray trees run shaders within shaders

/// All that is seen of a sample, the background as one surface.
void addDeep(DeepFilm& film, int x, int y, float weight, const SeenSurfaces& seen) {
    constexpr std::uint32_t ofLights = 0x80000000u; // apart from mesh instances, which are fewer
    for (const SeenSurface& each : seen.surfaces()) {
        const miColor& color = each.color;
        const bool isNothing = each.weight == 0.0f && color.r == 0.0f && color.g == 0.0f && color.b == 0.0f;
        if (isNothing || !std::isfinite(color.r + color.g + color.b)) continue;
        const std::uint32_t surface = each.light == miNULLTAG ? each.meshInstance : ofLights | each.light;
        film.add(x, y, weight, {surface, each.depth, each.weight, {color.r, color.g, color.b}});
    }
    film.endSample(x, y, weight);
}

} // namespace

struct TileRenderer::Worker {
    Worker(const Frame& frame, int thread)
        : context(frame, thread), thread_(static_cast<std::size_t>(thread)) {}

    /// What this thread did since the last call.
    const RenderTally& sinceLast() {
        last_.counts = context.counts.since(counted_);
        last_.written = context.written;
        counted_ = context.counts;
        return last_;
    }

    /// Adds what this thread has cast since the last call.
    void report(RayMeter& rays) {
        const std::uint64_t cast = context.counts.rays();
        rays.add(thread_, cast - metered_);
        metered_ = cast;
    }

    /// Room for the sums of a block.
    float* sumsFor(image::SampleRange block, std::size_t words) {
        std::vector<float>& room = sums_[static_cast<std::size_t>(std::countr_zero(block.count())) / 2];
        room.resize(words);
        return room.data();
    }

    RenderContext context;
    std::vector<float> pixel;    // the pixel being rendered, where it is kept apart from the film
    bool takesOneSample = false; // that pixel, with this pass
    ShadedLayers shadedLayers;   // of that pixel, in rasterizer mode

private:
    RayCounts counted_;
    RenderTally last_;
    std::size_t thread_;
    std::uint64_t metered_ = 0;
    std::array<std::vector<float>, 16> sums_; // for each size of block, 4^n samples
};

TileRenderer::TileRenderer(const Frame& frame, Film& film, RenderState& state, const RenderSettings& settings,
                           int threads, int passesAtMost, DeepFilm* deep)
    : frame_(frame),
      film_(film),
      state_(state),
      deep_(deep),
      rays_(settings.rays),
      progress_(settings.progress),
      filter_(frame.options.filter, frame.options.filter_size_x, frame.options.filter_size_y),
      threads_(threads),
      passesAtMost_(passesAtMost),
      workers_(static_cast<std::size_t>(threads)) {
    if (settings.sampleRange)
        range_ = image::blocksOf(*settings.sampleRange, samplesAt(frame.options.max_samples));
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

/// False when the render was stopped; the pixel may lack samples then.
bool TileRenderer::renderSteps(Worker& worker, int x, int y, int lastStep, float* pixel) {
    film_.prefetch(x, y);
    // A sample in the pixel's centre suits a pixel that takes no other; further ones are spread around the
    // first one's own place.
    if (frame_.options.jitter == 0.0f && lastStep > 1 && film_.stepsDone(pixel) == 1) {
        film_.clear(pixel);
        if (deep_) deep_->clear(x, y);
    }
    for (int step = film_.stepsDone(pixel) + 1; step <= lastStep; ++step) {
        const Film::PrimarySum before = film_.primarySum(pixel);
        if (!addBlock(worker, x, y, samplesOfStep(step), pixel, false)) return false;
        film_.finishStep(pixel, before);
    }
    return true;
}

/// False when the render was stopped; the pixel may lack samples then.
bool TileRenderer::renderRange(Worker& worker, int x, int y, float* pixel) {
    film_.prefetch(x, y);
    const bool keepsBlocks = film_.blocks() > 1;
    float* sums = pixel;
    for (const image::SampleRange block : range_) {
        const bool areEmpty = keepsBlocks || block.first == 0;
        if (!addBlock(worker, x, y, block, sums, areEmpty)) return false;
        if (keepsBlocks) sums += film_.sumWords();
    }
    return true;
}

/// Adds a block's sum to `sums`. False when the render was stopped.
bool TileRenderer::addBlock(Worker& worker, int x, int y, image::SampleRange samples, float* sums,
                            bool areEmpty) {
    if (samples.count() == 1) return addSample(worker, x, y, samples.first, sums);
    float* const own = areEmpty ? sums : worker.sumsFor(samples, film_.sumWords());
    if (!areEmpty) film_.clear(own);
    for (unsigned i = 0; i < 4; ++i)
        if (!addBlock(worker, x, y, image::quarterOf(samples, i), own, i == 0)) return false;
    if (!areEmpty) film_.addSums(sums, own);
    return true;
}

/// In rasterizer mode a sample is several visibility samples, which share shadings.
bool TileRenderer::addSample(Worker& worker, int x, int y, unsigned index, float* sums) {
    const VisibilitySamples& visibility = frame_.visibility;
    if (visibility.count == 1) return addVisibilitySample(worker, x, y, index, sums);
    bool complete = true;
    for (unsigned i = 0; complete && i < visibility.count; ++i) {
        if (i % visibility.perShading() == 0)
            worker.shadedLayers.begin(index * visibility.shadings + i / visibility.perShading());
        worker.context.shadedLayers = &worker.shadedLayers;
        complete = addVisibilitySample(worker, x, y, index * visibility.count + i, sums);
    }
    worker.context.shadedLayers = nullptr;
    return complete;
}

bool TileRenderer::addVisibilitySample(Worker& worker, int x, int y, unsigned index, float* sums) {
    Sampler& sampler = worker.context.sampler;
    sampler.startSample(frame_.seed, x, y, index);
    const float lobe = filter_.hasNegativeLobes() ? sampler.eye(EyeFilterLobe) : 0.0f;
    PixelFilter::Placement placement =
        filter_.place(index, sampler.eye(EyeFilterX), sampler.eye(EyeFilterY), lobe);
    const bool isOnlyOne = worker.takesOneSample && frame_.visibility.count == 1;
    if (isOnlyOne && frame_.options.jitter == 0.0f) placement.x = placement.y = 0.0f;
    renderEyeSample(worker.context, x, y, placement);
    if (rays_) worker.report(*rays_);
    if (frame_.stopped()) return false; // its rays may have been refused
    film_.add(sums, placement, worker.context.sampleWords.data());
    if (deep_) addDeep(*deep_, x, y, placement.weight, *worker.context.seen);
    return true;
}

void TileRenderer::renderTile(Worker& worker, std::size_t tile) {
    const AdaptiveSampler::Pass& pass = state_.pass();
    const auto renderPixel = [&](int x, int y, int lastStep, float* pixel) {
        return range_.empty() ? renderSteps(worker, x, y, lastStep, pixel) : renderRange(worker, x, y, pixel);
    };
    const PixelWindow &window = state_.tiles().window(tile), &area = film_.sampledWindow();
    const std::uint32_t finished = state_.tiles().finished(tile);
    std::uint32_t number = 0; // of the pixel in its tile, from 1
    for (int y = window.yl; y <= window.yh; ++y)
        for (int x = window.xl; x <= window.xh; ++x) {
            if (frame_.stopped()) return;
            if (++number <= finished) continue;
            const int lastStep =
                pass[static_cast<std::size_t>(y - area.yl) * static_cast<std::size_t>(area.width()) +
                     static_cast<std::size_t>(x - area.xl)];
            if (lastStep == 0) continue;
            worker.takesOneSample = lastStep == 1;
            float* const pixel = film_.pixel(x, y);
            if (!state_.isKept()) {
                if (!renderPixel(x, y, lastStep, pixel)) return;
                continue;
            }
            // A checkpoint may be written at any moment: the film takes whole pixels.
            worker.pixel.assign(pixel, pixel + film_.pixelWords());
            if (!renderPixel(x, y, lastStep, worker.pixel.data())) return;
            state_.tiles().store(tile, number, x, y, worker.pixel.data(), worker.sinceLast());
        }
}

/// Work that ends while another thread reports is left to the next report.
void TileRenderer::report(RenderPhase phase, double share) {
    if (!progress_) return;
    if (const std::unique_lock lock(reporting_, std::try_to_lock); lock)
        progress_({phase, share, samples_.load(std::memory_order_relaxed)});
}

void TileRenderer::begin(RenderPhase phase) {
    report(phase, 0.0);
}

double TileRenderer::shareOfPasses(std::size_t tilesDone) const {
    // Later passes refine parts of the picture; each counts half of what is left.
    double start = 0.0;
    double share = passesAtMost_ > 1 ? 0.5 : 1.0;
    for (int pass = 0; pass < passesDone_; ++pass) {
        start += share;
        share = pass + 2 < passesAtMost_ ? share / 2 : 1.0 - start;
    }
    return start + share * static_cast<double>(tilesDone) / static_cast<double>(state_.tiles().count());
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
            Worker& worker = workerOfThisThread();
            const std::uint64_t before = worker.context.counts.samples;
            work(worker, i);
            samples_.fetch_add(worker.context.counts.samples - before, std::memory_order_relaxed);
            ++done;
        });
    });
    return done == count && !frame_.stopped(); // work in progress at a stop was cut short
}

bool TileRenderer::renderPass() {
    std::atomic<std::size_t> done{0};
    const bool complete = inParallel(state_.tiles().count(), [&](Worker& worker, std::size_t tile) {
        renderTile(worker, tile);
        report(RenderPhase::Render, shareOfPasses(++done));
    });
    ++passesDone_;
    return complete;
}

bool TileRenderer::forEach(std::size_t count, RenderPhase phase, double from, double to,
                           const std::function<void(RenderContext&, std::size_t)>& work,
                           const std::function<void(std::size_t, const RenderTally&)>& finish) {
    std::atomic<std::size_t> done{0};
    return inParallel(count, [&](Worker& worker, std::size_t i) {
        work(worker.context, i);
        if (rays_) worker.report(*rays_);
        if (!frame_.stopped()) finish(i, worker.sinceLast());
        report(phase, from + (to - from) * static_cast<double>(++done) / static_cast<double>(count));
    });
}

void TileRenderer::close() {
    for (const std::unique_ptr<Worker>& worker : workers_)
        if (worker) closeBaseState(worker->context);
}

RenderTally TileRenderer::tally() const {
    RenderTally sum;
    for (const std::unique_ptr<Worker>& worker : workers_)
        if (worker) sum.add({worker->context.counts, worker->context.written});
    return sum;
}

} // namespace orca::render
