// SPDX-License-Identifier: Apache-2.0
#include "geometry/freeform/patch_borders.h"

#include "base/vectors.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace orca::geometry {

namespace {

constexpr std::size_t probes = 5; // points at which sides are compared

/// One side of one patch.
struct Side {
    std::size_t patch;
    int number;
    std::array<miVector, probes> points;
    std::uint32_t like;    ///< index of the first side along the same curve
    bool reversed = false; ///< against that one
    bool isPoint = false;  ///< all of it
};

bool isNear(const miVector& a, const miVector& b, float tolerance) {
    const miVector d = b - a;
    return dot(d, d) <= tolerance * tolerance;
}

bool isLike(const Side& a, const Side& b, bool reversed, float tolerance) {
    for (std::size_t i = 0; i < probes; ++i)
        if (!isNear(a.points[i], b.points[reversed ? probes - 1 - i : i], tolerance)) return false;
    return true;
}

/// Calls body(i, k), i before k, for all pairs of items whose points may be within the tolerance.
template <class PointOf, class Body>
void forNeighbours(std::size_t count, float tolerance, const PointOf& pointOf, const Body& body) {
    std::vector<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0u);
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        const float x = pointOf(a).x, y = pointOf(b).x;
        return x < y || (x == y && a < b);
    });
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t k = i + 1; k < count && pointOf(order[k]).x - pointOf(order[i]).x <= tolerance; ++k)
            if (std::abs(pointOf(order[k]).y - pointOf(order[i]).y) <= tolerance)
                body(std::min(order[i], order[k]), std::max(order[i], order[k]));
}

std::vector<double> sharesOf(const std::vector<double>& lines) {
    std::vector<double> shares;
    for (const double line : lines) shares.push_back((line - lines.front()) / (lines.back() - lines.front()));
    return shares;
}

bool isSame(const std::vector<double>& a, const std::vector<double>& b) {
    constexpr double rounding = 1e-6;
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](double x, double y) { return std::abs(x - y) <= rounding; });
}

std::vector<Side> sidesOf(std::span<const Patch> patches, float tolerance) {
    std::vector<Side> sides;
    for (std::size_t patch = 0; patch < patches.size(); ++patch)
        for (int number = 0; number < Patch::sides; ++number) {
            Side side{patch, number, {}, static_cast<std::uint32_t>(sides.size())};
            for (std::size_t i = 0; i < probes; ++i) {
                const auto [u, v] =
                    patches[patch].onSide(number, static_cast<double>(i) / static_cast<double>(probes - 1));
                side.points[i] = patches[patch].sample(u, v).point;
            }
            side.isPoint = std::all_of(side.points.begin(), side.points.end(), [&](const miVector& p) {
                return isNear(p, side.points[0], tolerance);
            });
            sides.push_back(side);
        }
    // The first of all that run alike.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
    forNeighbours(
        sides.size(), tolerance,
        [&](std::size_t i) -> const miVector& { return sides[i].points[probes / 2]; },
        [&](std::uint32_t i, std::uint32_t k) {
            if (!sides[i].isPoint &&
                (isLike(sides[i], sides[k], false, tolerance) || isLike(sides[i], sides[k], true, tolerance)))
                pairs.emplace_back(i, k);
        });
    std::sort(pairs.begin(), pairs.end());
    for (const auto& [i, k] : pairs)
        if (sides[k].like == k) sides[k].like = sides[i].like;
    for (Side& side : sides) side.reversed = !isLike(sides[side.like], side, false, tolerance);
    return sides;
}

} // namespace

std::vector<PatchBorder> matchBorders(std::span<const Patch> patches, std::span<const Patch::Lines> lines,
                                      float tolerance, SharedPlaces& places) {
    const std::vector<Side> sides = sidesOf(patches, tolerance);
    const auto sharesAlong = [&](const Side& side) {
        const Patch::Lines& of = lines[side.patch];
        return sharesOf(side.number < 2 ? of.u : of.v);
    };
    // For every curve, the vertices of the side that has most of them.
    std::vector<std::vector<double>> chosen(sides.size());
    for (const Side& side : sides) {
        std::vector<double> shares = sharesAlong(side);
        if (shares.size() <= chosen[side.like].size()) continue;
        if (side.reversed) {
            std::reverse(shares.begin(), shares.end());
            for (double& share : shares) share = 1.0 - share;
        }
        chosen[side.like] = std::move(shares);
    }
    const std::size_t corners = 4 * patches.size();
    const std::uint32_t firstCorner = places.add(corners);
    const auto cornerPoint = [&](std::size_t corner) -> const miVector& { // v lowest: 0, 1; highest: 2, 3
        const Side& side = sides[corner / 4 * Patch::sides + corner % 4 / 2];
        return corner % 2 == 0 ? side.points.front() : side.points.back();
    };
    forNeighbours(corners, tolerance, cornerPoint, [&](std::uint32_t i, std::uint32_t k) {
        if (isNear(cornerPoint(i), cornerPoint(k), tolerance)) places.join(firstCorner + i, firstCorner + k);
    });
    std::vector<std::uint32_t> firstInside(sides.size());
    for (std::size_t i = 0; i < sides.size(); ++i)
        if (sides[i].like == i) firstInside[i] = places.add(chosen[i].size() - 2);

    std::vector<PatchBorder> borders(patches.size());
    constexpr int ends[Patch::sides][2] = {{0, 1}, {2, 3}, {0, 2}, {1, 3}}; // corners
    for (const Side& side : sides) {
        PatchSide& result = borders[side.patch][static_cast<std::size_t>(side.number)];
        result.along = chosen[side.like];
        if (side.reversed) {
            std::reverse(result.along.begin(), result.along.end());
            for (double& share : result.along) share = 1.0 - share;
        }
        result.ownLines = isSame(result.along, sharesAlong(side));
        const auto corner = [&](int end) {
            return static_cast<std::uint32_t>(firstCorner + 4 * side.patch +
                                              static_cast<std::size_t>(ends[side.number][end]));
        };
        const std::size_t count = result.along.size();
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t k = side.reversed ? count - 1 - i : i;
            result.places.push_back(i == 0 || side.isPoint ? corner(0)
                                    : i + 1 == count
                                        ? corner(1)
                                        : firstInside[side.like] + static_cast<std::uint32_t>(k - 1));
        }
    }
    return borders;
}

} // namespace orca::geometry
