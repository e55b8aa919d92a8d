// SPDX-License-Identifier: Apache-2.0
#include "render/lightmap/texel_layout.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

constexpr int tileSize = 16; // texels

/// Share of a triangle's height that a place may lie outside, so that none falls between two triangles.
constexpr double outside = 1e-6;
/// Share of a triangle's height that a place has to lie inside to be no place of its edge.
constexpr double wellInside = 1e-3;

/// Twice the area, positive for corners in counter-clockwise order.
double doubleArea(const LaidOutTriangle& t) {
    const auto& [a, b, c] = t.corners;
    return (double{b[0]} - a[0]) * (double{c[1]} - a[1]) - (double{b[1]} - a[1]) * (double{c[0]} - a[0]);
}

/// Barycentric weights of a place; the least of the three is `least`.
struct Weights {
    double u, v, least;
};
Weights weightsAt(const LaidOutTriangle& t, double x, double y) {
    const auto& [a, b, c] = t.corners;
    const double area = doubleArea(t);
    const double u = ((x - a[0]) * (double{c[1]} - a[1]) - (y - a[1]) * (double{c[0]} - a[0])) / area;
    const double v = ((double{b[0]} - a[0]) * (y - a[1]) - (double{b[1]} - a[1]) * (x - a[0])) / area;
    return {u, v, std::min({u, v, 1.0 - u - v})};
}

/// First and last texel of an axis that a triangle may touch, within first..last.
struct Extent {
    int first, last;
};
Extent extentOf(const LaidOutTriangle& t, std::size_t axis, int first, int last) {
    const auto [least, most] = std::minmax({t.corners[0][axis], t.corners[1][axis], t.corners[2][axis]});
    const auto texel = [&](float at) {
        return static_cast<int>(
            std::clamp(std::floor(at), static_cast<float>(first) - 1.0f, static_cast<float>(last) + 1.0f));
    };
    return {std::max(first, texel(least)), std::min(last, texel(most))};
}

} // namespace

TexelLayout::TexelLayout(int width, int height)
    : width_(width),
      height_(height),
      tilesAcross_((width + tileSize - 1) / tileSize),
      trianglesOfTile_(static_cast<std::size_t>(tilesAcross_) *
                       static_cast<std::size_t>((height + tileSize - 1) / tileSize)) {
}

void TexelLayout::add(const LaidOutTriangle& triangle) {
    const double area = doubleArea(triangle);
    if (!std::isfinite(area) || area == 0.0) return;
    const Extent columns = extentOf(triangle, 0, 0, width_ - 1), rows = extentOf(triangle, 1, 0, height_ - 1);
    if (columns.first > columns.last || rows.first > rows.last) return;
    const auto index = static_cast<std::uint32_t>(triangles_.size());
    triangles_.push_back(triangle);
    for (int y = rows.first / tileSize; y <= rows.last / tileSize; ++y)
        for (int x = columns.first / tileSize; x <= columns.last / tileSize; ++x)
            trianglesOfTile_[static_cast<std::size_t>(y * tilesAcross_ + x)].push_back(index);
}

TexelLayout::Tile TexelLayout::tile(std::size_t index) const {
    const int x = static_cast<int>(index) % tilesAcross_ * tileSize;
    const int y = static_cast<int>(index) / tilesAcross_ * tileSize;
    Tile tile{x, y, std::min(tileSize, width_ - x), std::min(tileSize, height_ - y), {}};
    tile.candidates.resize(static_cast<std::size_t>(tile.width * tile.height));
    for (const std::uint32_t each : trianglesOfTile_[index]) {
        const Extent columns = extentOf(triangles_[each], 0, x, x + tile.width - 1);
        const Extent rows = extentOf(triangles_[each], 1, y, y + tile.height - 1);
        for (int row = rows.first; row <= rows.last; ++row)
            for (int column = columns.first; column <= columns.last; ++column)
                tile.candidates[static_cast<std::size_t>((row - y) * tile.width + column - x)].push_back(
                    each);
    }
    return tile;
}

TexelPoint TexelLayout::find(const Tile& tile, std::size_t texel, double x, double y) const {
    for (const std::uint32_t each : tile.candidates[texel]) {
        const Weights weights = weightsAt(triangles_[each], x, y);
        if (weights.least < -outside) continue;
        const double u = std::clamp(weights.u, 0.0, 1.0);
        return {&triangles_[each], static_cast<float>(u),
                static_cast<float>(std::clamp(weights.v, 0.0, 1.0 - u))};
    }
    return {};
}

const LaidOutTriangle* TexelLayout::findBelow(const Tile& tile, std::size_t texel, double x, double y,
                                              const TexelPoint& found) const {
    if (!found.triangle || weightsAt(*found.triangle, x, y).least < wellInside) return nullptr;
    for (const std::uint32_t each : tile.candidates[texel])
        if (&triangles_[each] > found.triangle && weightsAt(triangles_[each], x, y).least > wellInside)
            return &triangles_[each];
    return nullptr;
}

} // namespace orca::render
