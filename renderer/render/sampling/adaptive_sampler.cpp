// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/adaptive_sampler.h"

#include "scene/elements/options_element.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace orca::render {

namespace {

constexpr int trustedLevel = 2; // from 16 samples on, an edge shows in the pixel's own samples

unsigned samplesAt(int level) {
    return level <= 0 ? 1u : 1u << (2 * level);
}

int strideAt(int level) {
    return level >= 0 ? 1 : 1 << -level;
}

} // namespace

AdaptiveSampler::AdaptiveSampler(const PixelWindow& window, int minLevel, int maxLevel,
                                 const miColor& contrast)
    : window_(window), minLevel_(minLevel), maxLevel_(maxLevel), level_(minLevel_), contrast_(contrast) {
    assert(minLevel >= scene::coarsestSamplingLevel && minLevel <= maxLevel &&
           maxLevel <= scene::finestSamplingLevel);
}

AdaptiveSampler::Pass AdaptiveSampler::first() const {
    Pass pass{{}, 0, samplesAt(minLevel_)};
    const int stride = strideAt(minLevel_);
    if (stride == 1) return pass;
    pass.pixels.resize(static_cast<std::size_t>(window_.width()) *
                       static_cast<std::size_t>(window_.height()));
    // The last row and column close the blocks at the picture's far edges.
    for (int y = 0; y < window_.height(); ++y)
        for (int x = 0; x < window_.width(); ++x)
            pass.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(window_.width()) +
                        static_cast<std::size_t>(x)] = (x % stride == 0 || x == window_.width() - 1) &&
                                                       (y % stride == 0 || y == window_.height() - 1);
    return pass;
}

bool AdaptiveSampler::differs(const miColor& a, const miColor& b) const {
    return std::abs(a.r - b.r) > contrast_.r || std::abs(a.g - b.g) > contrast_.g ||
           std::abs(a.b - b.b) > contrast_.b || std::abs(a.a - b.a) > contrast_.a;
}

bool AdaptiveSampler::pixelNeedsMore(const Film& film, int x, int y) const {
    if (!film.sampled(x, y)) return false;
    if (level_ > 0 && differs(film.spread(x, y), {})) return true;
    // A few samples can all miss an edge that crosses their pixel, so the neighbours are compared.
    if (level_ >= trustedLevel) return false;
    const miColor mean = film.mean(x, y);
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            const int nx = x + dx;
            const int ny = y + dy;
            if (nx < window_.xl || nx > window_.xh || ny < window_.yl || ny > window_.yh) continue;
            if (film.sampled(nx, ny) && differs(mean, film.mean(nx, ny))) return true;
        }
    return false;
}

AdaptiveSampler::Pass AdaptiveSampler::refineGrid(const Film& film, int stride) const {
    const int width = window_.width();
    const int height = window_.height();
    Pass pass{std::vector<std::uint8_t>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
              0, 1};
    const int half = stride / 2;
    for (int by = 0; by < height; by += stride)
        for (int bx = 0; bx < width; bx += stride) {
            const int ex = std::min(bx + stride, width - 1);
            const int ey = std::min(by + stride, height - 1);
            const int corners[4][2] = {{bx, by}, {ex, by}, {bx, ey}, {ex, ey}};
            bool known = true;
            for (const auto& c : corners) known = known && film.sampled(window_.xl + c[0], window_.yl + c[1]);
            if (!known) continue;
            const miColor reference = film.mean(window_.xl + bx, window_.yl + by);
            bool uneven = false;
            for (const auto& c : corners)
                uneven = uneven || differs(reference, film.mean(window_.xl + c[0], window_.yl + c[1]));
            if (!uneven) continue;
            for (const int y : {by, std::min(by + half, ey), ey})
                for (const int x : {bx, std::min(bx + half, ex), ex})
                    if (!film.sampled(window_.xl + x, window_.yl + y))
                        pass.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                    static_cast<std::size_t>(x)] = 1;
        }
    return pass;
}

bool AdaptiveSampler::next(const Film& film, Pass& pass) {
    if (level_ >= maxLevel_) return false;
    if (level_ < 0) {
        pass = refineGrid(film, strideAt(level_));
    } else {
        pass = {std::vector<std::uint8_t>(static_cast<std::size_t>(window_.width()) *
                                          static_cast<std::size_t>(window_.height())),
                samplesAt(level_), samplesAt(level_ + 1)};
        std::size_t pixel = 0;
        for (int y = window_.yl; y <= window_.yh; ++y)
            for (int x = window_.xl; x <= window_.xh; ++x) pass.pixels[pixel++] = pixelNeedsMore(film, x, y);
    }
    ++level_;
    return std::find(pass.pixels.begin(), pass.pixels.end(), 1) != pass.pixels.end();
}

void AdaptiveSampler::fillGaps(Film& film) const {
    if (minLevel_ >= 0) return;
    const int width = window_.width();
    const int height = window_.height();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            if (film.sampled(window_.xl + x, window_.yl + y)) continue;
            for (int stride = 2; stride <= strideAt(minLevel_); stride *= 2) {
                const int bx = x / stride * stride;
                const int by = y / stride * stride;
                const int ex = std::min(bx + stride, width - 1);
                const int ey = std::min(by + stride, height - 1);
                const float fx = ex > bx ? static_cast<float>(x - bx) / static_cast<float>(ex - bx) : 0.0f;
                const float fy = ey > by ? static_cast<float>(y - by) / static_cast<float>(ey - by) : 0.0f;
                const Film::Blend blend{{window_.xl + bx, window_.xl + ex, window_.xl + bx, window_.xl + ex},
                                        {window_.yl + by, window_.yl + by, window_.yl + ey, window_.yl + ey},
                                        {(1 - fx) * (1 - fy), fx * (1 - fy), (1 - fx) * fy, fx * fy}};
                bool known = true;
                for (int i = 0; i < 4; ++i) known = known && film.sampled(blend.x[i], blend.y[i]);
                if (!known) continue;
                film.interpolate(window_.xl + x, window_.yl + y, blend);
                break;
            }
        }
}

} // namespace orca::render
