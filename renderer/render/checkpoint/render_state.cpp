// SPDX-License-Identifier: Apache-2.0
#include "render/checkpoint/render_state.h"

#include <utility>

namespace orca::render {

namespace {

constexpr std::uint64_t mostRecords = 1ull << 32;
constexpr std::uint64_t mostPoints = 1ull << 33; // pixels of the largest picture, twice
constexpr std::uint64_t mostBuffers = 1u << 20;

void write(CheckpointOutput& output, const RenderTally& tally) {
    output.value(tally.counts);
    output.array(tally.written);
}

void read(CheckpointInput& input, RenderTally& tally) {
    tally.counts = input.value<RayCounts>();
    tally.written = input.array<std::uint8_t>(mostBuffers);
}

} // namespace

RenderState::RenderState(Film& film, int tileSize, bool isKept)
    : film_(film), isKept_(isKept), tiles_(film, tileSize) {
}

void RenderState::setCaches(GatherCaches& caches) {
    caches_ = &caches;
    for (int cache = 0; cache < GatherCaches::count; ++cache)
        for (const GatherRecord& record : std::exchange(resumedRecords_[cache], {}))
            caches.restore(cache, record);
}

void RenderState::beginGrid(int spacing, std::size_t points) {
    const std::lock_guard lock(phase_);
    if (std::exchange(resumed_, false) && spacing == spacing_ && pending_.size() == points) return;
    spacing_ = spacing;
    pending_.assign(points, {});
    pointFinished_.assign(points, 0);
}

void RenderState::finishPoint(std::size_t point, const RenderTally& since) {
    const std::lock_guard lock(gathering_);
    pointFinished_[point] = 1;
    elsewhere_.add(since);
}

void RenderState::finishGrid() {
    const std::lock_guard lock(phase_);
    for (const PendingGatherRecords& ofPoint : pending_) caches_->add(ofPoint);
    pending_.clear();
    pointFinished_.clear();
    spacing_ /= 2;
}

void RenderState::finishGather() {
    const std::lock_guard lock(phase_);
    gatherDone_ = true;
}

void RenderState::beginPass(AdaptiveSampler::Pass pass, int level) {
    const std::lock_guard lock(phase_);
    pass_ = std::move(pass);
    level_ = level;
    tiles_.restart();
}

RenderTally RenderState::tally() {
    RenderTally sum = tiles_.tally();
    sum.add(elsewhere_);
    return sum;
}

void RenderState::write(CheckpointOutput& output) {
    const std::lock_guard lock(phase_);
    output.value<std::uint64_t>(film_.pixelWords());
    output.value(film_.sampledWindow());
    output.value(tiles_.tileSize());

    output.value(gatherDone_);
    output.value(spacing_);
    for (int cache = 0; cache < GatherCaches::count; ++cache)
        output.array(caches_ ? caches_->records(cache) : resumedRecords_[cache]);
    {
        const std::lock_guard gathering(gathering_);
        output.array(pointFinished_);
        for (std::size_t point = 0; point < pending_.size(); ++point)
            if (pointFinished_[point]) output.array(pending_[point].entries());
        render::write(output, elsewhere_);
    }

    output.value(level_);
    output.array(pass_);
    TileProgress::Copy copy;
    for (std::size_t tile = 0; tile < tiles_.count(); ++tile) {
        tiles_.read(tile, copy);
        output.value(copy.finished);
        render::write(output, copy.tally);
        output.array(copy.pixels);
    }
}

void RenderState::read(CheckpointInput& input) {
    const auto pixelWords = input.value<std::uint64_t>();
    const auto window = input.value<PixelWindow>();
    const auto tileSize = input.value<int>();
    const PixelWindow& own = film_.sampledWindow();
    if (pixelWords != film_.pixelWords() || window.xl != own.xl || window.yl != own.yl ||
        window.xh != own.xh || window.yh != own.yh || tileSize != tiles_.tileSize())
        throw CheckpointFault("it holds a picture of another size or with other frame buffers");

    gatherDone_ = input.value<std::uint8_t>() != 0;
    spacing_ = input.value<int>();
    for (std::vector<GatherRecord>& records : resumedRecords_)
        records = input.array<GatherRecord>(mostRecords);
    pointFinished_ = input.array<std::uint8_t>(mostPoints);
    pending_.resize(pointFinished_.size());
    for (std::size_t point = 0; point < pending_.size(); ++point)
        if (pointFinished_[point])
            for (const auto& entry : input.array<PendingGatherRecords::Entry>(mostRecords))
                pending_[point].add(entry.bounce, entry.record);
    render::read(input, elsewhere_);

    level_ = input.value<int>();
    pass_ = input.array<std::uint8_t>(mostPoints);
    const std::size_t area = static_cast<std::size_t>(own.width()) * static_cast<std::size_t>(own.height());
    if (!pass_.empty() && pass_.size() != area) input.damaged();
    TileProgress::Copy copy;
    for (std::size_t tile = 0; tile < tiles_.count(); ++tile) {
        const PixelWindow& ofTile = tiles_.window(tile);
        const std::uint64_t pixels =
            static_cast<std::uint64_t>(ofTile.width()) * static_cast<std::uint64_t>(ofTile.height());
        copy.finished = input.value<std::uint32_t>();
        render::read(input, copy.tally);
        copy.pixels = input.array<float>(pixels * pixelWords);
        if (copy.finished > pixels || copy.pixels.size() != pixels * pixelWords) input.damaged();
        tiles_.restore(tile, copy);
    }
    resumed_ = true;
}

} // namespace orca::render
