// SPDX-License-Identifier: Apache-2.0
#include "geometry/triangulate.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

namespace orca::geometry {

namespace {

struct Flat {
    double x, y;
    friend bool operator==(const Flat&, const Flat&) = default;
};

/// Twice the signed area; positive: counter-clockwise.
double turn(const Flat& a, const Flat& b, const Flat& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

double doubledArea(const std::vector<Flat>& flat, std::span<const std::uint32_t> loop) {
    double sum = 0.0;
    for (std::size_t i = 0; i < loop.size(); ++i) {
        const Flat& a = flat[loop[i]];
        const Flat& b = flat[loop[(i + 1) % loop.size()]];
        sum += a.x * b.y - b.x * a.y;
    }
    return sum;
}

bool insideOrOn(const Flat& p, const Flat& a, const Flat& b, const Flat& c) {
    return turn(a, b, p) >= 0.0 && turn(b, c, p) >= 0.0 && turn(c, a, p) >= 0.0;
}

bool inside(const Flat& p, const Flat& a, const Flat& b, const Flat& c) {
    return turn(a, b, p) > 0.0 && turn(b, c, p) > 0.0 && turn(c, a, p) > 0.0;
}

/// Drops the axis in which the outline's normal (Newell's) is largest. The result turns counter-clockwise
/// where the outline does; empty when the outline has no area.
std::vector<Flat> project(std::span<const miVector> points, std::uint32_t outlineSize) {
    double nx = 0.0, ny = 0.0, nz = 0.0, extent = 0.0;
    const miVector& origin = points[0];
    for (std::uint32_t i = 0; i < outlineSize; ++i) {
        const miVector& a = points[i];
        const miVector& b = points[(i + 1) % outlineSize];
        const double ax = double(a.x) - origin.x, ay = double(a.y) - origin.y, az = double(a.z) - origin.z;
        const double bx = double(b.x) - origin.x, by = double(b.y) - origin.y, bz = double(b.z) - origin.z;
        nx += (ay - by) * (az + bz);
        ny += (az - bz) * (ax + bx);
        nz += (ax - bx) * (ay + by);
        extent = std::max({extent, std::abs(ax), std::abs(ay), std::abs(az)});
    }
    const double largest = std::max({std::abs(nx), std::abs(ny), std::abs(nz)});
    // Below the rounding of single-precision coordinates there is no area left to speak of.
    if (!(largest > 1e-12 * extent * extent)) return {};

    std::vector<Flat> flat;
    flat.reserve(points.size());
    for (const miVector& p : points) {
        const double x = double(p.x) - origin.x, y = double(p.y) - origin.y, z = double(p.z) - origin.z;
        if (largest == std::abs(nz)) flat.push_back(nz > 0.0 ? Flat{x, y} : Flat{y, x});
        else if (largest == std::abs(nx)) flat.push_back(nx > 0.0 ? Flat{y, z} : Flat{z, y});
        else flat.push_back(ny > 0.0 ? Flat{z, x} : Flat{x, z});
    }
    return flat;
}

/// Position in the ring from which the hole's rightmost point can be seen; ring size when there is none.
std::size_t bridgeEnd(const std::vector<Flat>& flat, const std::vector<std::uint32_t>& ring,
                      const Flat& from) {
    double nearest = std::numeric_limits<double>::infinity();
    std::size_t end = ring.size();
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const Flat& a = flat[ring[i]];
        const Flat& b = flat[ring[(i + 1) % ring.size()]];
        // Only edges going up have the inside of a counter-clockwise ring on their left, toward the hole.
        if (a.y > from.y || b.y < from.y || a.y == b.y) continue;
        const double x = a.x + (from.y - a.y) / (b.y - a.y) * (b.x - a.x);
        if (x < from.x || x >= nearest) continue;
        nearest = x;
        end = (a.x > b.x) ? i : (i + 1) % ring.size();
        if (x == a.x && from.y == a.y) end = i;
        if (x == b.x && from.y == b.y) end = (i + 1) % ring.size();
    }
    if (end == ring.size()) return end;

    // Reflex corners inside the triangle (from, crossing, end) hide the end: take the one at the smallest
    // angle.
    const Flat crossing{nearest, from.y};
    const Flat tip = flat[ring[end]];
    if (tip == crossing) return end;
    double smallest = std::numeric_limits<double>::infinity(), closest = smallest;
    std::size_t best = end;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const Flat& p = flat[ring[i]];
        if (i == end || p.x < from.x) continue;
        const bool inside =
            tip.y < from.y ? insideOrOn(p, from, tip, crossing) : insideOrOn(p, from, crossing, tip);
        if (!inside) continue;
        const Flat& before = flat[ring[(i + ring.size() - 1) % ring.size()]];
        const Flat& after = flat[ring[(i + 1) % ring.size()]];
        if (turn(before, p, after) > 0.0 && p != tip) continue;
        // Among copies of one point, left by earlier bridges, only the one that opens toward `from` will do.
        const bool opens = turn(before, p, after) >= 0.0
                               ? turn(from, p, before) >= 0.0 && turn(from, after, p) >= 0.0
                               : !(turn(from, p, after) > 0.0 && turn(from, before, p) > 0.0);
        if (!opens) continue;
        const double dx = p.x - from.x, angle = dx > 0.0 ? std::abs(p.y - from.y) / dx : smallest;
        if (angle < smallest || (angle == smallest && dx < closest)) {
            smallest = angle;
            closest = dx;
            best = i;
        }
    }
    return best;
}

/// Cuts the ring open at the bridge and runs around the hole.
void join(std::vector<std::uint32_t>& ring, std::size_t at, const std::vector<std::uint32_t>& hole,
          std::size_t start) {
    std::vector<std::uint32_t> detour;
    for (std::size_t i = 0; i <= hole.size(); ++i) detour.push_back(hole[(start + i) % hole.size()]);
    detour.push_back(ring[at]);
    ring.insert(ring.begin() + static_cast<std::ptrdiff_t>(at) + 1, detour.begin(), detour.end());
}

/// A ring of corners that shrinks ear by ear.
class EarClipper {
public:
    EarClipper(const std::vector<Flat>& flat, const std::vector<std::uint32_t>& ring)
        : flat_(flat), ring_(ring), next_(ring.size()), previous_(ring.size()), reflex_(ring.size()) {
        const std::size_t n = ring.size();
        for (std::size_t i = 0; i < n; ++i) {
            next_[i] = (i + 1) % n;
            previous_[i] = (i + n - 1) % n;
        }
        for (std::size_t i = 0; i < n; ++i) reflex_[i] = cornerTurn(i) <= 0.0;
    }

    void clip(std::vector<std::array<std::uint32_t, 3>>& triangles) {
        std::size_t left = ring_.size(), at = 0, refused = 0;
        while (left > 3) {
            // A full round without an ear happens where a loop touches another: then contact is allowed.
            // Another round happens on rings that cross themselves: then any corner has to go.
            const bool anyCorner = refused >= 2 * left;
            if (!anyCorner && !isEar(at, refused < left ? Touching::Blocks : Touching::Allowed)) {
                at = next_[at];
                ++refused;
                continue;
            }
            const std::size_t before = previous_[at], after = next_[at];
            if (cornerTurn(at) > 0.0) triangles.push_back({ring_[before], ring_[at], ring_[after]});
            next_[before] = after;
            previous_[after] = before;
            reflex_[before] = cornerTurn(before) <= 0.0;
            reflex_[after] = cornerTurn(after) <= 0.0;
            --left;
            refused = 0;
            at = next_[after]; // skipping one keeps fans of slivers away
            if (left <= 3) at = after;
        }
        if (cornerTurn(at) > 0.0) triangles.push_back({ring_[previous_[at]], ring_[at], ring_[next_[at]]});
    }

private:
    enum class Touching { Blocks, Allowed };
    [[nodiscard]] const Flat& point(std::size_t i) const { return flat_[ring_[i]]; }
    [[nodiscard]] double cornerTurn(std::size_t i) const {
        return turn(point(previous_[i]), point(i), point(next_[i]));
    }
    [[nodiscard]] bool isEar(std::size_t i, Touching touching) const {
        if (reflex_[i]) return false;
        const Flat &a = point(previous_[i]), &b = point(i), &c = point(next_[i]);
        for (std::size_t other = next_[next_[i]]; other != previous_[i]; other = next_[other]) {
            if (!reflex_[other]) continue;
            const Flat& p = point(other);
            if (p == a || p == b || p == c) continue; // the far copies of bridge ends
            if (touching == Touching::Blocks ? insideOrOn(p, a, b, c) : inside(p, a, b, c)) return false;
        }
        return true;
    }

    const std::vector<Flat>& flat_;
    const std::vector<std::uint32_t>& ring_;
    std::vector<std::size_t> next_, previous_;
    std::vector<char> reflex_;
};

} // namespace

PolygonFault triangulate(std::span<const miVector> points, std::span<const std::uint32_t> loopSizes,
                         std::vector<std::array<std::uint32_t, 3>>& triangles) {
    if (loopSizes.empty() || loopSizes[0] < 3) return PolygonFault::Degenerate;
    const std::vector<Flat> flat = project(points, loopSizes[0]);
    if (flat.empty()) return PolygonFault::Degenerate;

    std::vector<std::uint32_t> ring(loopSizes[0]);
    std::iota(ring.begin(), ring.end(), 0u);
    double wanted = doubledArea(flat, ring);
    bool simple = true;

    std::vector<std::vector<std::uint32_t>> holes;
    std::uint32_t first = loopSizes[0];
    for (const std::uint32_t size : loopSizes.subspan(1)) {
        std::vector<std::uint32_t> hole(size);
        std::iota(hole.begin(), hole.end(), first);
        first += size;
        const double area = doubledArea(flat, hole);
        if (size < 3 || area == 0.0) continue; // takes nothing away
        if (area > 0.0) std::reverse(hole.begin(), hole.end());
        wanted -= std::abs(area);
        // The rightmost corner comes first: the bridge starts there.
        std::rotate(hole.begin(),
                    std::max_element(hole.begin(), hole.end(),
                                     [&](auto a, auto b) {
                                         return flat[a].x != flat[b].x ? flat[a].x < flat[b].x
                                                                       : flat[a].y > flat[b].y;
                                     }),
                    hole.end());
        holes.push_back(std::move(hole));
    }
    // From right to left, so that a bridge ends on what was joined before it, never on a hole still to come.
    std::stable_sort(holes.begin(), holes.end(),
                     [&](const auto& a, const auto& b) { return flat[a[0]].x > flat[b[0]].x; });
    for (const auto& hole : holes) {
        const std::size_t end = bridgeEnd(flat, ring, flat[hole[0]]);
        if (end == ring.size()) simple = false;
        else join(ring, end, hole, 0);
    }

    const std::size_t before = triangles.size();
    EarClipper(flat, ring).clip(triangles);
    double covered = 0.0;
    for (std::size_t i = before; i < triangles.size(); ++i)
        covered += turn(flat[triangles[i][0]], flat[triangles[i][1]], flat[triangles[i][2]]);
    if (!(wanted > 0.0) || std::abs(covered - wanted) > 1e-4 * wanted) simple = false;
    return simple ? PolygonFault::None : PolygonFault::NotSimple;
}

} // namespace orca::geometry
