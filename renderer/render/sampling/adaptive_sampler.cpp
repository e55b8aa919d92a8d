// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/adaptive_sampler.h"

#include "base/parallel_for.h"
#include "render/film/sample_steps.h"

#include <algorithm>
#include <cmath>

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

AdaptiveSampler::AdaptiveSampler(const SampledArea& area, const miColor& contrast)
    : area_(area),
      level_(area.minLevel()),
      contrast_(contrast),
      toleratedVariance_{contrast.r, contrast.g, contrast.b, contrast.a} {
    for (float& channel : toleratedVariance_) channel *= toleratedShare * toleratedShare * channel;
}

AdaptiveSampler::Pass AdaptiveSampler::noSamples() const {
    return Pass(static_cast<std::size_t>(area_.sampled().width()) *
                static_cast<std::size_t>(area_.sampled().height()));
}

std::size_t AdaptiveSampler::index(int x, int y) const {
    const PixelWindow& sampled = area_.sampled();
    return static_cast<std::size_t>(y - sampled.yl) * static_cast<std::size_t>(sampled.width()) +
           static_cast<std::size_t>(x - sampled.xl);
}

AdaptiveSampler::Pass AdaptiveSampler::first() const {
    Pass pass = noSamples();
    const auto step = static_cast<std::uint8_t>(stepOfLevel(area_.minLevel()));
    const int stride = strideAt(area_.minLevel());
    const PixelWindow& dense = area_.dense();
    // The last row and column close the blocks at the picture's far edges.
    for (int y = dense.yl; y <= dense.yh; ++y)
        for (int x = dense.xl; x <= dense.xh; ++x)
            if ((x % stride == 0 || x == area_.width() - 1) && (y % stride == 0 || y == area_.height() - 1))
                pass[index(x, y)] = step;
    if (!area_.survey()) return pass;
    const PixelWindow& sampled = area_.sampled();
    for (int y = sampled.yl; y <= sampled.yh; ++y)
        for (int x = sampled.xl; x <= sampled.xh; ++x)
            if (area_.survey()->isOnGrid(x, y)) pass[index(x, y)] = stepOfLevel(NoiseSurvey::level);
    return pass;
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

DisplayedVariance AdaptiveSampler::varianceAt(const Film& film, int x, int y) const {
    const int decision = area_.decisionAt(level_);
    if (!SampledArea::comparesNeighbours(decision)) return ownVariance(film, x, y);
    if (level_ > 0) return smoothedVariance(film, area_.sampled(), x, y);
    return larger(varianceAround(film, area_.sampled(), x, y), ownVariance(film, x, y));
}

int AdaptiveSampler::stepWanted(const Film& film, int x, int y) const {
    int step = film.stepsDone(film.pixel(x, y));
    const auto goOn = [&](const DisplayedVariance& variance, int level) {
        while (step < stepOfLevel(level) && isTooNoisy(variance, step)) ++step;
    };
    goOn(varianceAt(film, x, y), level_ + 1);
    if (area_.survey() && area_.decisionAt(level_) == 0)
        goOn(area_.survey()->varianceAt(film, x, y), area_.maxLevel());
    return step;
}

AdaptiveSampler::Pass AdaptiveSampler::refineGrid(const Film& film) const {
    Pass pass = noSamples();
    const int stride = strideAt(level_), half = stride / 2;
    const PixelWindow& sampled = area_.sampled();
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
    return pass;
}

AdaptiveSampler::Pass AdaptiveSampler::refinePixels(const Film& film) const {
    Pass pass = noSamples();
    const PixelWindow decided = area_.decidedBy(area_.decisionAt(level_));
    const auto decideRow = [&](int y) {
        for (int x = decided.xl; x <= decided.xh; ++x) {
            if (!film.sampled(x, y)) continue;
            const int wanted = stepWanted(film, x, y);
            if (wanted > film.stepsDone(film.pixel(x, y)))
                pass[index(x, y)] = static_cast<std::uint8_t>(wanted);
        }
    };
    parallelFor(static_cast<std::size_t>(decided.height()), rowsPerChunk,
                [&](std::size_t first, std::size_t last) {
                    for (std::size_t row = first; row < last; ++row)
                        decideRow(decided.yl + static_cast<int>(row));
                });
    return pass;
}

AdaptiveSampler::Pass AdaptiveSampler::next(const Film& film) {
    while (level_ < area_.maxLevel()) {
        Pass pass = level_ < 0 ? refineGrid(film) : refinePixels(film);
        ++level_;
        if (!isEmpty(pass)) return pass;
    }
    return {};
}

void AdaptiveSampler::fillGaps(Film& film) const {
    if (area_.minLevel() >= 0) return;
    const PixelWindow& window = film.window();
    for (int y = window.yl; y <= window.yh; ++y)
        for (int x = window.xl; x <= window.xh; ++x) {
            if (film.sampled(x, y)) continue;
            for (int stride = 2; stride <= strideAt(area_.minLevel()); stride *= 2) {
                const int bx = x / stride * stride;
                const int by = y / stride * stride;
                const int ex = std::min(bx + stride, area_.width() - 1);
                const int ey = std::min(by + stride, area_.height() - 1);
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
