// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/adaptive_sampler.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

bool isEmpty(const AdaptiveSampler::Pass& pass) {
    return std::find(pass.pixels.begin(), pass.pixels.end(), 1) == pass.pixels.end();
}

} // namespace

AdaptiveSampler::AdaptiveSampler(const SampledArea& area, const miColor& contrast)
    : area_(area), level_(area.minLevel()), contrast_(contrast) {
}

std::vector<std::uint8_t> AdaptiveSampler::noPixels() const {
    return std::vector<std::uint8_t>(static_cast<std::size_t>(area_.sampled().width()) *
                                     static_cast<std::size_t>(area_.sampled().height()));
}

std::size_t AdaptiveSampler::index(int x, int y) const {
    const PixelWindow& sampled = area_.sampled();
    return static_cast<std::size_t>(y - sampled.yl) * static_cast<std::size_t>(sampled.width()) +
           static_cast<std::size_t>(x - sampled.xl);
}

AdaptiveSampler::Pass AdaptiveSampler::first() const {
    Pass pass{{}, 0, samplesAt(area_.minLevel())};
    const int stride = strideAt(area_.minLevel());
    if (stride == 1) return pass;
    pass.pixels = noPixels();
    const PixelWindow& sampled = area_.sampled();
    // The last row and column close the blocks at the picture's far edges.
    for (int y = sampled.yl; y <= sampled.yh; ++y)
        for (int x = sampled.xl; x <= sampled.xh; ++x)
            pass.pixels[index(x, y)] =
                (x % stride == 0 || x == area_.width() - 1) && (y % stride == 0 || y == area_.height() - 1);
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
    if (level_ >= firstTrustedLevel) return false;
    const miColor mean = film.mean(x, y);
    const PixelWindow& sampled = area_.sampled();
    for (int ny = std::max(y - 1, sampled.yl); ny <= std::min(y + 1, sampled.yh); ++ny)
        for (int nx = std::max(x - 1, sampled.xl); nx <= std::min(x + 1, sampled.xh); ++nx)
            if (film.sampled(nx, ny) && differs(mean, film.mean(nx, ny))) return true;
    return false;
}

AdaptiveSampler::Pass AdaptiveSampler::refineGrid(const Film& film) const {
    Pass pass{noPixels(), 0, 1};
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
                    if (!film.sampled(x, y)) pass.pixels[index(x, y)] = 1;
        }
    return pass;
}

AdaptiveSampler::Pass AdaptiveSampler::refinePixels(const Film& film) const {
    Pass pass{noPixels(), samplesAt(level_), samplesAt(level_ + 1)};
    const PixelWindow decided = area_.decidedAt(level_);
    for (int y = decided.yl; y <= decided.yh; ++y)
        for (int x = decided.xl; x <= decided.xh; ++x) pass.pixels[index(x, y)] = pixelNeedsMore(film, x, y);
    return pass;
}

bool AdaptiveSampler::next(const Film& film, Pass& pass) {
    while (level_ < area_.maxLevel()) {
        pass = level_ < 0 ? refineGrid(film) : refinePixels(film);
        ++level_;
        if (!isEmpty(pass)) return true;
    }
    return false;
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
