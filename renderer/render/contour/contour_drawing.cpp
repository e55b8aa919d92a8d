// SPDX-License-Identifier: Apache-2.0
#include "render/contour/contour_drawing.h"

#include "base/parallel_for.h"

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace orca::render {

namespace {

constexpr int tileSize = 32;      // pixels
constexpr int pointsPerPixel = 8; // along x and y, at which coverage is found out

/// A segment as drawn: what lies within a radius of it that changes along it.
class Stroke {
public:
    Stroke(const ContourSegment& segment, int pictureWidth) : segment_(segment) {
        const float pixels = 0.01f * static_cast<float>(pictureWidth);
        radius_ = 0.5f * pixels * segment.from.width;
        radiusChange_ = 0.5f * pixels * segment.to.width - radius_;
        alongX_ = segment.to.point.x - segment.from.point.x;
        alongY_ = segment.to.point.y - segment.from.point.y;
        const float square = alongX_ * alongX_ + alongY_ * alongY_;
        perSquare_ = square > 0.0f ? 1.0f / square : 0.0f;
    }

    [[nodiscard]] float largestRadius() const { return std::max(radius_, radius_ + radiusChange_); }
    [[nodiscard]] const ContourSegment& segment() const { return segment_; }

    struct Place {
        float along;  ///< 0 to 1
        float beside; ///< in radii of the line there; above 1 outside of it
    };
    [[nodiscard]] Place placeOf(float x, float y) const {
        const float dx = x - segment_.from.point.x, dy = y - segment_.from.point.y;
        const float along = std::clamp((dx * alongX_ + dy * alongY_) * perSquare_, 0.0f, 1.0f);
        const float distance = std::hypot(dx - along * alongX_, dy - along * alongY_);
        const float radius = radius_ + along * radiusChange_;
        return {along, radius > 0.0f ? distance / radius : std::numeric_limits<float>::infinity()};
    }
    [[nodiscard]] float depthAt(float along) const {
        return segment_.from.point.z + along * (segment_.to.point.z - segment_.from.point.z);
    }
    [[nodiscard]] miColor colorAt(float along) const {
        const miColor &from = segment_.from.color, &to = segment_.to.color;
        return {from.r + along * (to.r - from.r), from.g + along * (to.g - from.g),
                from.b + along * (to.b - from.b), from.a + along * (to.a - from.a)};
    }

private:
    const ContourSegment& segment_;
    float radius_, radiusChange_; // pixels
    float alongX_, alongY_, perSquare_;
};

/// What is nearest at the points of a tile.
class TileCoverage {
public:
    explicit TileCoverage(const PixelWindow& tile)
        : tile_(tile),
          columns_(tile.width() * pointsPerPixel),
          points_(static_cast<std::size_t>(columns_ * tile.height() * pointsPerPixel)) {}

    void add(const Stroke& stroke) {
        const miVector &from = stroke.segment().from.point, &to = stroke.segment().to.point;
        const float reach = stroke.largestRadius();
        const int left = column(std::min(from.x, to.x) - reach),
                  right = column(std::max(from.x, to.x) + reach);
        const int low = row(std::min(from.y, to.y) - reach), high = row(std::max(from.y, to.y) + reach);
        for (int y = std::max(low, 0); y <= std::min(high, tile_.height() * pointsPerPixel - 1); ++y)
            for (int x = std::max(left, 0); x <= std::min(right, columns_ - 1); ++x) {
                const Stroke::Place place = stroke.placeOf(position(tile_.xl, x), position(tile_.yl, y));
                if (place.beside > 1.0f) continue;
                Point& point = points_[static_cast<std::size_t>(y * columns_ + x)];
                const float depth = stroke.depthAt(place.along);
                if (point.stroke &&
                    (point.depth < depth || (point.depth == depth && point.place.beside <= place.beside)))
                    continue;
                point = {&stroke, depth, place};
            }
    }

    /// Colour times opacity, and opacity, as means over a pixel.
    [[nodiscard]] miColor pixel(int x, int y) const {
        miColor sum{};
        for (int j = 0; j < pointsPerPixel; ++j)
            for (int i = 0; i < pointsPerPixel; ++i) {
                const int at =
                    ((y - tile_.yl) * pointsPerPixel + j) * columns_ + (x - tile_.xl) * pointsPerPixel + i;
                const Point& point = points_[static_cast<std::size_t>(at)];
                if (!point.stroke) continue;
                const miColor color = point.stroke->colorAt(point.place.along);
                sum.r += color.r * color.a;
                sum.g += color.g * color.a;
                sum.b += color.b * color.a;
                sum.a += color.a;
            }
        constexpr float share = 1.0f / (pointsPerPixel * pointsPerPixel);
        return {share * sum.r, share * sum.g, share * sum.b, share * sum.a};
    }

private:
    struct Point {
        const Stroke* stroke = nullptr;
        float depth = 0.0f;
        Stroke::Place place{};
    };

    static float position(int first, int index) {
        return static_cast<float>(first) + (static_cast<float>(index) + 0.5f) / pointsPerPixel;
    }
    [[nodiscard]] int column(float x) const {
        return static_cast<int>(std::floor((x - static_cast<float>(tile_.xl)) * pointsPerPixel));
    }
    [[nodiscard]] int row(float y) const {
        return static_cast<int>(std::floor((y - static_cast<float>(tile_.yl)) * pointsPerPixel));
    }

    PixelWindow tile_;
    int columns_;
    std::vector<Point> points_;
};

/// The strokes that reach each tile of the window.
std::vector<std::vector<const Stroke*>> byTile(std::span<const Stroke> strokes, const PixelWindow& window,
                                               int tilesAcross, int tilesUp) {
    std::vector<std::vector<const Stroke*>> tiles(static_cast<std::size_t>(tilesAcross * tilesUp));
    const auto tileOf = [](float at, int first, int count) {
        const float tile = std::floor((at - static_cast<float>(first)) / tileSize);
        return static_cast<int>(std::clamp(tile, -1.0f, static_cast<float>(count)));
    };
    for (const Stroke& stroke : strokes) {
        const miVector &from = stroke.segment().from.point, &to = stroke.segment().to.point;
        const float reach = stroke.largestRadius();
        const int left = tileOf(std::min(from.x, to.x) - reach, window.xl, tilesAcross);
        const int right = tileOf(std::max(from.x, to.x) + reach, window.xl, tilesAcross);
        const int low = tileOf(std::min(from.y, to.y) - reach, window.yl, tilesUp);
        const int high = tileOf(std::max(from.y, to.y) + reach, window.yl, tilesUp);
        for (int y = std::max(low, 0); y <= std::min(high, tilesUp - 1); ++y)
            for (int x = std::max(left, 0); x <= std::min(right, tilesAcross - 1); ++x)
                tiles[static_cast<std::size_t>(y * tilesAcross + x)].push_back(&stroke);
    }
    return tiles;
}

void composite(const miColor& line, float* pixel) {
    const float through = 1.0f - line.a;
    pixel[0] = pixel[0] * through + line.r;
    pixel[1] = pixel[1] * through + line.g;
    pixel[2] = pixel[2] * through + line.b;
    pixel[3] = pixel[3] * through + line.a;
}

} // namespace

void drawContours(std::span<const ContourSegment> segments, int pictureWidth, const PixelWindow& window,
                  std::span<const ColorPixels> pictures, int threads) {
    std::vector<Stroke> strokes;
    strokes.reserve(segments.size());
    for (const ContourSegment& segment : segments) strokes.emplace_back(segment, pictureWidth);
    const int across = (window.width() + tileSize - 1) / tileSize;
    const int up = (window.height() + tileSize - 1) / tileSize;
    const std::vector<std::vector<const Stroke*>> tiles = byTile(strokes, window, across, up);
    const auto draw = [&](std::size_t index) {
        if (tiles[index].empty()) return;
        const int x0 = window.xl + static_cast<int>(index) % across * tileSize;
        const int y0 = window.yl + static_cast<int>(index) / across * tileSize;
        const PixelWindow tile{x0, y0, std::min(x0 + tileSize - 1, window.xh),
                               std::min(y0 + tileSize - 1, window.yh)};
        TileCoverage coverage(tile);
        for (const Stroke* stroke : tiles[index]) coverage.add(*stroke);
        for (int y = tile.yl; y <= tile.yh; ++y)
            for (int x = tile.xl; x <= tile.xh; ++x) {
                const miColor line = coverage.pixel(x, y);
                if (line.a == 0.0f) continue;
                const auto row = static_cast<std::size_t>(y - window.yl);
                const auto column = static_cast<std::size_t>(x - window.xl);
                for (const ColorPixels& picture : pictures)
                    composite(line, picture.first + row * picture.rowStride + column * picture.stride);
            }
    };
    const tbb::global_control parallelism(tbb::global_control::max_allowed_parallelism,
                                          static_cast<std::size_t>(threads));
    tbb::task_arena arena(threads);
    arena.execute([&] {
        parallelFor(tiles.size(), 1, [&](std::size_t first, std::size_t last) {
            for (std::size_t i = first; i < last; ++i) draw(i);
        });
    });
}

} // namespace orca::render
