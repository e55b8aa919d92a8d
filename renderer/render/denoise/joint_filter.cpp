// SPDX-License-Identifier: Apache-2.0
#include "render/denoise/joint_filter.h"

#include "base/parallel_for.h"

#include <tbb/task_arena.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace orca::render {

namespace {

constexpr int reach = 6;      // pixels to the farthest neighbour
constexpr int patchReach = 2; // of what is compared around two pixels
constexpr int noiseReach = 2; // over which estimates of noise, each from few samples, are averaged
constexpr int tileSize = 32;
constexpr int side = 2 * reach + 1;
constexpr int neighbours = side * side;
constexpr int margin = reach + patchReach;

// Differences that count as one standard deviation: as a multiple of the noise of both pixels, and of guides
// themselves.
constexpr float noiseTolerance = 0.6f;
constexpr float colorTolerance = 0.02f;
constexpr float normalTolerance = 0.15f;
constexpr float depthTolerance = 0.01f; // of the depth, beyond what the plane there explains
constexpr float leastWeight = 1e-4f;

/// Numbers of the pixels of a tile and around it, one plane after the other. Beyond the picture, its border.
class Planes {
public:
    Planes(int planes, int size) : size_(size), values_(static_cast<std::size_t>(planes * size * size)) {}
    [[nodiscard]] float* row(int plane, int y) {
        return values_.data() + static_cast<std::size_t>((plane * size_ + y) * size_);
    }
    [[nodiscard]] const float* row(int plane, int y) const {
        return const_cast<Planes*>(this)->row(plane, y);
    }

private:
    int size_;
    std::vector<float> values_;
};

/// Variance of each pixel's colour, from what its samples and those of the pixels around it say.
std::vector<float> varianceOfMeans(const FilterInput& input, int threads) {
    const auto width = static_cast<std::size_t>(input.width), height = static_cast<std::size_t>(input.height);
    std::vector<float> result(input.variance.size());
    tbb::task_arena arena(threads);
    arena.execute([&] {
        parallelFor(height, 8, [&](std::size_t first, std::size_t last) {
            for (std::size_t y = first; y < last; ++y)
                for (std::size_t x = 0; x < width; ++x) {
                    float sum[3] = {};
                    int count = 0;
                    const std::size_t top = std::min(y + noiseReach, height - 1);
                    const std::size_t right = std::min(x + noiseReach, width - 1);
                    for (std::size_t j = y - std::min<std::size_t>(y, noiseReach); j <= top; ++j)
                        for (std::size_t i = x - std::min<std::size_t>(x, noiseReach); i <= right;
                             ++i, ++count)
                            for (std::size_t c = 0; c < 3; ++c)
                                sum[c] += input.variance[(j * width + i) * 3 + c];
                    const float samples = input.samples[y * width + x];
                    for (std::size_t c = 0; c < 3; ++c)
                        result[(y * width + x) * 3 + c] = sum[c] / (static_cast<float>(count) * samples);
                }
        });
    });
    return result;
}

/// Filters one tile.
class TileFilter {
public:
    TileFilter(const FilterInput& input, std::span<const float> variance, int left, int bottom)
        : input_(input),
          left_(left),
          bottom_(bottom),
          width_(std::min(tileSize, input.width - left)),
          height_(std::min(tileSize, input.height - bottom)),
          planes_(firstGuide + planesOfGuide * static_cast<int>(input.guides.size()), tileSize + 2 * margin),
          weights_(static_cast<std::size_t>(width_ * height_ * neighbours)) {
        load(variance);
    }

    void run(std::span<float> result) {
        for (int dy = -reach; dy <= reach; ++dy)
            for (int dx = -reach; dx <= reach; ++dx) compare(dx, dy);
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) apply(x, y, result);
    }

private:
    [[nodiscard]] const float* pixelAt(int x, int y) const {
        const auto column = static_cast<std::size_t>(std::clamp(x, 0, input_.width - 1));
        const auto row = static_cast<std::size_t>(std::clamp(y, 0, input_.height - 1));
        return input_.pixels.data() +
               (row * static_cast<std::size_t>(input_.width) + column) * input_.pixelWords;
    }

    void load(std::span<const float> variance) {
        for (int y = 0; y < height_ + 2 * margin; ++y)
            for (int x = 0; x < width_ + 2 * margin; ++x) {
                const int column = left_ + x - margin, row = bottom_ + y - margin;
                const float* const pixel = pixelAt(column, row);
                const auto at =
                    static_cast<std::size_t>(pixel - input_.pixels.data()) / input_.pixelWords * 3;
                for (int c = 0; c < 3; ++c) {
                    planes_.row(c, y)[x] = pixel[input_.color + static_cast<std::size_t>(c)];
                    planes_.row(3 + c, y)[x] = variance[at + static_cast<std::size_t>(c)];
                }
                int plane = firstGuide;
                for (const FilterGuide& guide : input_.guides) {
                    if (guide.kind == GuideKind::Depth) {
                        planes_.row(plane, y)[x] = pixel[guide.word];
                        planes_.row(plane + 1, y)[x] =
                            slope(pixelAt(column - 1, row)[guide.word], pixel[guide.word],
                                  pixelAt(column + 1, row)[guide.word]);
                        planes_.row(plane + 2, y)[x] =
                            slope(pixelAt(column, row - 1)[guide.word], pixel[guide.word],
                                  pixelAt(column, row + 1)[guide.word]);
                    } else {
                        const float scale =
                            guide.kind == GuideKind::Color ? 1.0f / colorTolerance : 1.0f / normalTolerance;
                        for (int c = 0; c < 3; ++c)
                            planes_.row(plane + c, y)[x] =
                                scale * pixel[guide.word + static_cast<std::size_t>(c)];
                    }
                    plane += planesOfGuide;
                }
            }
    }

    /// Of the two differences the smaller, so that an edge is no slope.
    static float slope(float before, float here, float after) {
        const float back = here - before, forth = after - here;
        return std::abs(back) < std::abs(forth) ? back : forth;
    }

    /// Squared distance of the guides of a pixel of the tile and of a neighbour.
    [[nodiscard]] float guideDistance(int x, int y, int dx, int dy) const {
        float largest = 0.0f;
        int plane = firstGuide;
        for (const FilterGuide& guide : input_.guides) {
            const auto here = [&](int p) { return planes_.row(plane + p, y)[x]; };
            const auto there = [&](int p) { return planes_.row(plane + p, y + dy)[x + dx]; };
            float distance = 0.0f;
            if (guide.kind == GuideKind::Depth) {
                if ((here(0) == 0.0f) != (there(0) == 0.0f)) return farApart;
                const float expected = here(1) * static_cast<float>(dx) + here(2) * static_cast<float>(dy);
                const float beyond =
                    std::min(std::abs(there(0) - here(0) - expected), std::abs(there(0) - here(0)));
                const float relative = beyond / (depthTolerance * std::max(std::abs(here(0)), 1e-20f));
                distance = relative * relative;
            } else {
                for (int c = 0; c < 3; ++c) distance += (here(c) - there(c)) * (here(c) - there(c));
            }
            largest = std::max(largest, distance);
            plane += planesOfGuide;
        }
        return largest;
    }

    /// Weights of the neighbours at one offset, for all pixels of the tile.
    void compare(int dx, int dy) {
        constexpr int most = tileSize + 2 * patchReach;
        std::array<std::array<float, most>, most> distance;
        for (int j = 0; j < height_ + 2 * patchReach; ++j) {
            const int y = j + reach;
            auto& line = distance[static_cast<std::size_t>(j)];
            std::fill(line.begin(), line.end(), 0.0f);
            for (int c = 0; c < 3; ++c) {
                const float *const here = planes_.row(c, y) + reach, *const noise =
                                                                         planes_.row(3 + c, y) + reach;
                const float *const there = planes_.row(c, y + dy) + reach + dx, *const otherNoise =
                                                                                    planes_.row(3 + c,
                                                                                                y + dy) +
                                                                                    reach + dx;
                for (int i = 0; i < width_ + 2 * patchReach; ++i) {
                    const float difference = here[i] - there[i];
                    const float common = noise[i] + std::min(noise[i], otherNoise[i]);
                    line[static_cast<std::size_t>(i)] +=
                        (difference * difference - common) /
                        (1e-10f + noiseTolerance * noiseTolerance * (noise[i] + otherNoise[i]));
                }
            }
        }
        const std::size_t neighbour = static_cast<std::size_t>((dy + reach) * side + dx + reach);
        constexpr float patchPixels = (2 * patchReach + 1) * (2 * patchReach + 1);
        std::array<float, most> columns{};
        for (int y = 0; y < height_; ++y) {
            for (int i = 0; i < width_ + 2 * patchReach; ++i) {
                float sum = 0.0f;
                for (int j = 0; j <= 2 * patchReach; ++j)
                    sum += distance[static_cast<std::size_t>(y + j)][static_cast<std::size_t>(i)];
                columns[static_cast<std::size_t>(i)] = sum;
            }
            for (int x = 0; x < width_; ++x) {
                float sum = 0.0f;
                for (int i = 0; i <= 2 * patchReach; ++i) sum += columns[static_cast<std::size_t>(x + i)];
                const float color = std::max(0.0f, sum / (3.0f * patchPixels));
                float weight = 0.0f;
                if (color < farApart)
                    weight = std::exp(-std::max(color, guideDistance(x + margin, y + margin, dx, dy)));
                weights_[static_cast<std::size_t>(y * width_ + x) * neighbours + neighbour] = weight;
            }
        }
    }

    void apply(int x, int y, std::span<float> result) const {
        const float* const weights = &weights_[static_cast<std::size_t>(y * width_ + x) * neighbours];
        const float* const own = pixelAt(left_ + x, bottom_ + y);
        float* const to = result.data() + (own - input_.pixels.data());
        for (const auto& [first, count] : input_.words) std::fill_n(to + first, count, 0.0f);
        float total = 0.0f;
        for (int dy = -reach; dy <= reach; ++dy) {
            if (bottom_ + y + dy < 0 || bottom_ + y + dy >= input_.height) continue;
            for (int dx = -reach; dx <= reach; ++dx) {
                const float weight = weights[(dy + reach) * side + dx + reach];
                if (weight < leastWeight || left_ + x + dx < 0 || left_ + x + dx >= input_.width) continue;
                total += weight;
                const float* const from =
                    own + (dy * input_.width + dx) * static_cast<std::ptrdiff_t>(input_.pixelWords);
                for (const auto& [first, count] : input_.words)
                    for (std::size_t w = first; w < first + count; ++w) to[w] += weight * from[w];
            }
        }
        const float scale = 1.0f / total; // the pixel itself has weight 1
        for (const auto& [first, count] : input_.words)
            for (std::size_t w = first; w < first + count; ++w) to[w] *= scale;
    }

    static constexpr int firstGuide = 6; // after the colour and its noise
    // Three channels, or a depth and by how much it changes from a pixel to the next in x and in y.
    static constexpr int planesOfGuide = 3;
    static constexpr float farApart = 20.0f;

    const FilterInput& input_;
    int left_, bottom_, width_, height_;
    Planes planes_;
    std::vector<float> weights_; // of the neighbours of each pixel
};

} // namespace

bool filterJointly(const FilterInput& input, std::span<float> result, int threads,
                   const std::atomic<bool>* stop) {
    const std::vector<float> variance = varianceOfMeans(input, threads);
    std::copy(input.pixels.begin(), input.pixels.end(), result.begin());
    const int columns = (input.width + tileSize - 1) / tileSize,
              rows = (input.height + tileSize - 1) / tileSize;
    std::atomic<bool> stopped{false};
    tbb::task_arena arena(threads);
    arena.execute([&] {
        parallelFor(static_cast<std::size_t>(columns * rows), 1, [&](std::size_t tile, std::size_t) {
            if (stop && stop->load(std::memory_order_relaxed)) {
                stopped = true;
                return;
            }
            const int left = static_cast<int>(tile) % columns * tileSize;
            TileFilter(input, variance, left, static_cast<int>(tile) / columns * tileSize).run(result);
        });
    });
    return !stopped;
}

} // namespace orca::render
