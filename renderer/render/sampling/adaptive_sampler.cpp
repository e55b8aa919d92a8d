// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/adaptive_sampler.h"

#include "base/parallel_for.h"
#include "render/film/overscan.h"
#include "render/film/sample_steps.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace orca::render {

namespace {

// Share of the contrast that the standard error of a single sample may have. A contrast of 0.05 leaves an
// error of 0.001 to 0.003 over a picture: still life, soft shadows and motion blur, 1 to 64 samples.
constexpr float toleratedShare = 0.06f;

constexpr std::size_t rowsPerChunk = 8; // enough work for a thread to fetch

bool isEmpty(const AdaptiveSampler::Pass& pass) {
    return std::all_of(pass.begin(), pass.end(), [](std::uint8_t step) { return step == 0; });
}

} // namespace

AdaptiveSampler::AdaptiveSampler(std::vector<SampledArea> areas, const miColor& contrast)
    : areas_(std::move(areas)),
      sampled_(sampledBy(areas_)),
      level_(minLevel()),
      contrast_(contrast),
      toleratedVariance_{contrast.r, contrast.g, contrast.b, contrast.a} {
    for (float& channel : toleratedVariance_) channel *= toleratedShare * toleratedShare * channel;
}

AdaptiveSampler::Pass AdaptiveSampler::noSamples() const {
    return Pass(static_cast<std::size_t>(sampled_.width()) * static_cast<std::size_t>(sampled_.height()));
}

std::size_t AdaptiveSampler::index(int x, int y) const {
    return static_cast<std::size_t>(y - sampled_.yl) * static_cast<std::size_t>(sampled_.width()) +
           static_cast<std::size_t>(x - sampled_.xl);
}

AdaptiveSampler::Pass AdaptiveSampler::first() const {
    Pass pass = noSamples();
    for (const SampledArea& area : areas_) first(area, pass);
    return pass;
}

void AdaptiveSampler::first(const SampledArea& area, Pass& pass) const {
    const auto step = static_cast<std::uint8_t>(stepOfLevel(minLevel()));
    const int stride = strideAt(minLevel());
    const PixelWindow &dense = area.dense(), &bounds = area.bounds();
    // The last row and column close the blocks at the region's far edges.
    for (int y = dense.yl; y <= dense.yh; ++y)
        for (int x = dense.xl; x <= dense.xh; ++x)
            if (((x - bounds.xl) % stride == 0 || x == bounds.xh) &&
                ((y - bounds.yl) % stride == 0 || y == bounds.yh))
                pass[index(x, y)] = step;
    if (!area.survey()) return;
    const PixelWindow& sampled = area.sampled();
    for (int y = sampled.yl; y <= sampled.yh; ++y)
        for (int x = sampled.xl; x <= sampled.xh; ++x)
            if (area.survey()->isOnGrid(x, y)) pass[index(x, y)] = stepOfLevel(NoiseSurvey::level);
}

bool AdaptiveSampler::differs(const miColor& a, const miColor& b) const {
    return std::abs(a.r - b.r) > contrast_.r || std::abs(a.g - b.g) > contrast_.g ||
           std::abs(a.b - b.b) > contrast_.b || std::abs(a.a - b.a) > contrast_.a;
}

bool AdaptiveSampler::isTooNoisy(const DisplayedVariance& variance, int step) const {
    const float samples = static_cast<float>(samplesAfter(step));
    const float scale = samples * std::sqrt(samples);
    for (std::size_t c = 0; c < variance.size(); ++c)
        if (variance[c] > toleratedVariance_[c] * scale) return true;
    return false;
}

DisplayedVariance AdaptiveSampler::varianceAt(const Film& film, const SampledArea& area, int x, int y) const {
    const int decision = area.decisionAt(level_);
    if (!SampledArea::comparesNeighbours(decision)) return ownVariance(film, x, y);
    if (level_ > 0) return smoothedVariance(film, area.sampled(), x, y);
    return larger(varianceAround(film, area.sampled(), x, y), ownVariance(film, x, y));
}

int AdaptiveSampler::stepWanted(const Film& film, const SampledArea& area, int x, int y) const {
    int step = film.stepsDone(film.pixel(x, y));
    const auto goOn = [&](const DisplayedVariance& variance, int level) {
        while (step < stepOfLevel(level) && isTooNoisy(variance, step)) ++step;
    };
    goOn(varianceAt(film, area, x, y), level_ + 1);
    if (area.survey() && area.decisionAt(level_) == 0)
        goOn(area.survey()->varianceAt(film, x, y), maxLevel());
    return step;
}

void AdaptiveSampler::refineGrid(const Film& film, const SampledArea& area, Pass& pass) const {
    const int stride = strideAt(level_), half = stride / 2;
    const PixelWindow& sampled = area.sampled();
    for (int by = sampled.yl; by <= sampled.yh; by += stride)
        for (int bx = sampled.xl; bx <= sampled.xh; bx += stride) {
            const int ex = std::min(bx + stride, sampled.xh);
            const int ey = std::min(by + stride, sampled.yh);
            const int corners[4][2] = {{bx, by}, {ex, by}, {bx, ey}, {ex, ey}};
            bool known = true;
            for (const auto& c : corners) known = known && film.sampled(c[0], c[1]);
            if (!known) continue;
            const miColor reference = film.mean(bx, by);
            bool uneven = false;
            for (const auto& c : corners) uneven = uneven || differs(reference, film.mean(c[0], c[1]));
            if (!uneven) continue;
            for (const int y : {by, std::min(by + half, ey), ey})
                for (const int x : {bx, std::min(bx + half, ex), ex})
                    if (!film.sampled(x, y)) pass[index(x, y)] = 1;
        }
}

void AdaptiveSampler::refinePixels(const Film& film, const SampledArea& area, Pass& pass) const {
    const PixelWindow decided = area.decidedBy(area.decisionAt(level_));
    const auto decideRow = [&](int y) {
        for (int x = decided.xl; x <= decided.xh; ++x) {
            if (!film.sampled(x, y)) continue;
            const int wanted = stepWanted(film, area, x, y);
            if (wanted > film.stepsDone(film.pixel(x, y)))
                pass[index(x, y)] = static_cast<std::uint8_t>(wanted);
        }
    };
    parallelFor(static_cast<std::size_t>(decided.height()), rowsPerChunk,
                [&](std::size_t first, std::size_t last) {
                    for (std::size_t row = first; row < last; ++row)
                        decideRow(decided.yl + static_cast<int>(row));
                });
}

AdaptiveSampler::Pass AdaptiveSampler::next(const Film& film) {
    while (level_ < maxLevel()) {
        Pass pass = noSamples();
        for (const SampledArea& area : areas_)
            if (level_ < 0) refineGrid(film, area, pass);
            else refinePixels(film, area, pass);
        ++level_;
        if (!isEmpty(pass)) return pass;
    }
    return {};
}

void AdaptiveSampler::fillGaps(Film& film) const {
    if (minLevel() >= 0) return;
    for (const SampledArea& area : areas_) fillGaps(film, area);
}

void AdaptiveSampler::fillGaps(Film& film, const SampledArea& area) {
    const PixelWindow& bounds = area.bounds();
    const std::optional<PixelWindow> window = intersection(film.window(), bounds);
    if (!window) return;
    for (int y = window->yl; y <= window->yh; ++y)
        for (int x = window->xl; x <= window->xh; ++x) {
            if (film.sampled(x, y)) continue;
            for (int stride = 2; stride <= strideAt(area.minLevel()); stride *= 2) {
                const int bx = bounds.xl + (x - bounds.xl) / stride * stride;
                const int by = bounds.yl + (y - bounds.yl) / stride * stride;
                const int ex = std::min(bx + stride, bounds.xh);
                const int ey = std::min(by + stride, bounds.yh);
                const float fx = ex > bx ? static_cast<float>(x - bx) / static_cast<float>(ex - bx) : 0.0f;
                const float fy = ey > by ? static_cast<float>(y - by) / static_cast<float>(ey - by) : 0.0f;
                const Film::Blend blend{{bx, ex, bx, ex},
                                        {by, by, ey, ey},
                                        {(1 - fx) * (1 - fy), fx * (1 - fy), (1 - fx) * fy, fx * fy}};
                bool known = true;
                for (int i = 0; i < 4; ++i) known = known && film.sampled(blend.x[i], blend.y[i]);
                if (!known) continue;
                film.interpolate(x, y, blend);
                break;
            }
        }
}

} // namespace orca::render
