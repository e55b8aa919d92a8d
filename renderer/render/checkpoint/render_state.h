// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/checkpoint/checkpoint_file.h"
#include "render/checkpoint/tile_progress.h"
#include "render/gather/gather_cache.h"
#include "render/sampling/adaptive_sampler.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace orca::render {

/// How far a picture's render has come: all that another process needs to go on with it and end with the same
/// pixels. Written while rendering goes on, in one piece for each phase (a grid of the gather prepass, a pass
/// of samples): the next phase begins when the file is written.
class RenderState {
public:
    /// @param isKept false: no checkpoint will be written, so finished pixels need not be kept apart from
    /// unfinished ones
    RenderState(Film& film, int tileSize, bool isKept);

    [[nodiscard]] bool isKept() const { return isKept_; }
    [[nodiscard]] TileProgress& tiles() { return tiles_; }

    /// Where the records of finished grids go.
    void setCaches(GatherCaches& caches);
    /// A grid of the gather prepass. After a resume, the points that were finished come back as such.
    void beginGrid(int spacing, std::size_t points);
    /// Of the grid to make next, pixels; negative before the first.
    [[nodiscard]] int gridSpacing() const { return spacing_; }
    [[nodiscard]] bool gatherIsDone() const { return gatherDone_; }
    [[nodiscard]] bool isFinished(std::size_t point) const { return pointFinished_[point] != 0; }
    [[nodiscard]] PendingGatherRecords& pending(std::size_t point) { return pending_[point]; }
    void finishPoint(std::size_t point, const RenderTally& since);
    /// Adds the grid's records to the caches, in the order of its points. The next grid has half its spacing.
    void finishGrid();
    void finishGather();

    [[nodiscard]] const AdaptiveSampler::Pass& pass() const { return pass_; }
    /// The sampler's level after it chose the pass.
    [[nodiscard]] int level() const { return level_; }
    void beginPass(AdaptiveSampler::Pass pass, int level);
    /// True after a resume when a pass had begun: what is not finished of it is rendered next, instead of a
    /// first pass.
    [[nodiscard]] bool resumesPass() const { return resumed_ && !pass_.empty(); }

    /// Of all that is finished, earlier runs included.
    [[nodiscard]] RenderTally tally();

    void write(CheckpointOutput& output);
    /// Once, before rendering and before `setCaches`. Throws CheckpointFault for a checkpoint of a film of
    /// another layout; the state must not be used then.
    void read(CheckpointInput& input);

private:
    Film& film_;
    bool isKept_;
    bool resumed_ = false;
    TileProgress tiles_;
    std::mutex phase_; // held while a phase ends or begins, and while the state is written
    GatherCaches* caches_ = nullptr;
    std::vector<GatherRecord> resumedRecords_[GatherCaches::count];
    int spacing_ = -1; // of the grid that is being made or is next
    bool gatherDone_ = false;
    std::mutex gathering_; // guards the three below while a grid is made
    std::vector<PendingGatherRecords> pending_;
    std::vector<std::uint8_t> pointFinished_;
    RenderTally elsewhere_; // of the gather prepass
    AdaptiveSampler::Pass pass_;
    int level_ = 0;
};

} // namespace orca::render
