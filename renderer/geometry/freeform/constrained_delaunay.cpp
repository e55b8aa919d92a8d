// SPDX-License-Identifier: Apache-2.0
#include "geometry/freeform/constrained_delaunay.h"

#include <algorithm>
#include <bit>
#include <deque>
#include <numeric>
#include <tuple>
#include <utility>

namespace orca::geometry {

namespace {

constexpr int next(int side) {
    return side == 2 ? 0 : side + 1;
}
constexpr int previous(int side) {
    return side == 0 ? 2 : side - 1;
}
std::size_t at(int side) {
    return static_cast<std::size_t>(side);
}

/// Bits of both coordinates in turn: close points are mostly close in this order.
std::uint64_t morton(const ConstrainedDelaunay::Point& point) {
    const auto spread = [](std::int32_t coordinate) {
        std::uint64_t x = static_cast<std::uint32_t>(coordinate);
        x = (x | x << 16) & 0x0000ffff0000ffffu;
        x = (x | x << 8) & 0x00ff00ff00ff00ffu;
        x = (x | x << 4) & 0x0f0f0f0f0f0f0f0fu;
        x = (x | x << 2) & 0x3333333333333333u;
        return (x | x << 1) & 0x5555555555555555u;
    };
    return spread(point.x) | spread(point.y) << 1;
}

/// Insertion in rounds that double in size, near neighbours one after another within each, so that neither
/// long thin triangles pile up nor searches get long (Amenta, Choi and Rote, "Incremental constructions con
/// BRIO", 2003).
std::vector<std::uint32_t> insertionOrder(std::span<const ConstrainedDelaunay::Point> vertices) {
    const auto round = [](std::uint32_t vertex) { // 0 for half of them, 1 for a quarter, ...
        const std::uint32_t mixed = (vertex + 1) * 2654435761u;
        return std::countl_zero(mixed ^ mixed >> 15);
    };
    std::vector<std::tuple<int, std::uint64_t, std::uint32_t>> keys;
    for (std::uint32_t i = 4; i < vertices.size(); ++i) keys.emplace_back(-round(i), morton(vertices[i]), i);
    std::sort(keys.begin(), keys.end());
    std::vector<std::uint32_t> order;
    for (const auto& key : keys) order.push_back(std::get<2>(key));
    return order;
}

} // namespace

ConstrainedDelaunay::ConstrainedDelaunay(Point upper, std::span<const Point> points) {
    vertices_ = {{0, 0}, {upper.x, 0}, upper, {0, upper.y}};
    // Points at the same place become one vertex.
    std::vector<std::uint32_t> sorted(points.size());
    std::iota(sorted.begin(), sorted.end(), 0u);
    const auto key = [&](std::uint32_t i) { return std::tuple(points[i].x, points[i].y, i); };
    std::sort(sorted.begin(), sorted.end(), [&](auto a, auto b) { return key(a) < key(b); });
    vertexOf_.resize(points.size());
    std::vector<std::uint32_t> firstAt(points.size());
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        const bool isNew = i == 0 || !(points[sorted[i]] == points[sorted[i - 1]]);
        firstAt[sorted[i]] = isNew ? sorted[i] : firstAt[sorted[i - 1]];
    }
    for (std::uint32_t i = 0; i < points.size(); ++i) {
        const auto corner = std::find(vertices_.begin(), vertices_.begin() + 4, points[i]);
        if (corner != vertices_.begin() + 4) {
            vertexOf_[i] = static_cast<std::uint32_t>(corner - vertices_.begin());
        } else if (firstAt[i] == i) {
            vertexOf_[i] = static_cast<std::uint32_t>(vertices_.size());
            vertices_.push_back(points[i]);
        } else {
            vertexOf_[i] = vertexOf_[firstAt[i]];
        }
    }
    triangles_ = {{{0, 1, 2}, {none, none, 1}, {}}, {{0, 2, 3}, {0, none, none}, {}}};
    triangleAt_.assign(vertices_.size(), 0);
    triangleAt_[3] = 1;
    for (const std::uint32_t vertex : insertionOrder(vertices_)) insert(vertex);
}

std::int64_t ConstrainedDelaunay::orientation(std::uint32_t a, std::uint32_t b, std::uint32_t c) const {
    const Point &p = vertices_[a], &q = vertices_[b], &r = vertices_[c];
    return std::int64_t{q.x - p.x} * (r.y - p.y) - std::int64_t{q.y - p.y} * (r.x - p.x);
}

/// True when d lies inside the circle through a, b and c, which turn counter-clockwise.
bool ConstrainedDelaunay::isInCircle(std::uint32_t a, std::uint32_t b, std::uint32_t c,
                                     std::uint32_t d) const {
    using Wide = __int128;
    const Point& o = vertices_[d];
    const auto x = [&](std::uint32_t i) { return std::int64_t{vertices_[i].x - o.x}; };
    const auto y = [&](std::uint32_t i) { return std::int64_t{vertices_[i].y - o.y}; };
    const auto square = [&](std::uint32_t i) { return Wide{x(i) * x(i) + y(i) * y(i)}; };
    const auto minor = [&](std::uint32_t i, std::uint32_t k) { return Wide{x(i) * y(k) - x(k) * y(i)}; };
    return square(a) * minor(b, c) + square(b) * minor(c, a) + square(c) * minor(a, b) > 0;
}

void ConstrainedDelaunay::touch(std::uint32_t triangle) {
    for (const std::uint32_t corner : triangles_[triangle].corners) triangleAt_[corner] = triangle;
}

void ConstrainedDelaunay::setNeighbour(std::uint32_t triangle, std::uint32_t oldNeighbour,
                                       std::uint32_t newNeighbour) {
    if (triangle == none) return;
    for (std::uint32_t& neighbour : triangles_[triangle].neighbours)
        if (neighbour == oldNeighbour) {
            neighbour = newNeighbour;
            return;
        }
}

ConstrainedDelaunay::Edge ConstrainedDelaunay::opposite(Edge edge) const {
    const std::uint32_t other = triangles_[edge.triangle].neighbours[at(edge.side)];
    if (other == none) return {};
    const std::uint32_t end = triangles_[edge.triangle].corners[at(next(edge.side))];
    for (int side = 0; side < 3; ++side)
        if (triangles_[other].corners[at(side)] == end) return {other, side};
    return {};
}

std::uint32_t ConstrainedDelaunay::apex(Edge edge) const {
    return triangles_[edge.triangle].corners[at(previous(edge.side))];
}

void ConstrainedDelaunay::insert(std::uint32_t vertex) {
    std::uint32_t triangle = last_;
    for (int from = 0;; ++from) { // turning where the walk starts keeps it from going in circles
        const Triangle& t = triangles_[triangle];
        int beyond = -1, on = -1;
        for (int i = 0; i < 3; ++i) {
            const int side = (from + i) % 3;
            const std::int64_t turn = orientation(t.corners[at(side)], t.corners[at(next(side))], vertex);
            if (turn < 0) {
                beyond = side;
                break;
            }
            if (turn == 0) on = side;
        }
        if (beyond >= 0) {
            triangle = t.neighbours[at(beyond)];
        } else {
            if (on >= 0) splitEdge({triangle, on}, vertex);
            else split(triangle, vertex);
            last_ = triangle;
            legalize();
            return;
        }
    }
}

void ConstrainedDelaunay::split(std::uint32_t triangle, std::uint32_t vertex) {
    const Triangle old = triangles_[triangle];
    const auto second = static_cast<std::uint32_t>(triangles_.size()), third = second + 1;
    triangles_.resize(triangles_.size() + 2);
    const std::array<std::uint32_t, 3> numbers = {triangle, second, third};
    for (int i = 0; i < 3; ++i) {
        triangles_[numbers[at(i)]] = {{old.corners[at(i)], old.corners[at(next(i))], vertex},
                                      {old.neighbours[at(i)], numbers[at(next(i))], numbers[at(previous(i))]},
                                      {old.isKept[at(i)], false, false}};
        setNeighbour(old.neighbours[at(i)], triangle, numbers[at(i)]);
        touch(numbers[at(i)]);
        suspects_.push_back({numbers[at(i)], 0});
    }
}

void ConstrainedDelaunay::splitEdge(Edge edge, std::uint32_t vertex) {
    // Each of the triangles at the edge is halved: (a, b, c) into (a, vertex, c) and (vertex, b, c).
    const Edge across = opposite(edge);
    const auto halve = [&](Edge half) {
        const Triangle old = triangles_[half.triangle];
        const int i = half.side;
        const std::uint32_t a = old.corners[at(i)], b = old.corners[at(next(i))],
                            c = old.corners[at(previous(i))];
        const auto added = static_cast<std::uint32_t>(triangles_.size());
        triangles_.push_back({{vertex, b, c},
                              {none, old.neighbours[at(next(i))], half.triangle},
                              {old.isKept[at(i)], old.isKept[at(next(i))], false}});
        triangles_[half.triangle] = {{a, vertex, c},
                                     {none, added, old.neighbours[at(previous(i))]},
                                     {old.isKept[at(i)], false, old.isKept[at(previous(i))]}};
        setNeighbour(old.neighbours[at(next(i))], half.triangle, added);
        touch(half.triangle);
        touch(added);
        suspects_.push_back({half.triangle, 2});
        suspects_.push_back({added, 1});
        return added;
    };
    const std::uint32_t added = halve(edge);
    if (across.triangle == none) return;
    const std::uint32_t addedAcross = halve(across);
    triangles_[edge.triangle].neighbours[0] = addedAcross;
    triangles_[addedAcross].neighbours[0] = edge.triangle;
    triangles_[added].neighbours[0] = across.triangle;
    triangles_[across.triangle].neighbours[0] = added;
}

/// Exchanges the diagonal of the quadrilateral around an edge. Afterwards the triangle has the new diagonal
/// as its side 2, and the one across as its side 2 as well.
void ConstrainedDelaunay::flip(Edge edge) {
    const Edge across = opposite(edge);
    const Triangle one = triangles_[edge.triangle], other = triangles_[across.triangle];
    const int i = edge.side, k = across.side;
    const std::uint32_t a = one.corners[at(i)], b = one.corners[at(next(i))],
                        c = one.corners[at(previous(i))];
    const std::uint32_t d = other.corners[at(previous(k))];
    triangles_[edge.triangle] = {
        {c, a, d},
        {one.neighbours[at(previous(i))], other.neighbours[at(next(k))], across.triangle},
        {one.isKept[at(previous(i))], other.isKept[at(next(k))], false}};
    triangles_[across.triangle] = {
        {d, b, c},
        {other.neighbours[at(previous(k))], one.neighbours[at(next(i))], edge.triangle},
        {other.isKept[at(previous(k))], one.isKept[at(next(i))], false}};
    setNeighbour(other.neighbours[at(next(k))], across.triangle, edge.triangle);
    setNeighbour(one.neighbours[at(next(i))], edge.triangle, across.triangle);
    touch(edge.triangle);
    touch(across.triangle);
}

void ConstrainedDelaunay::legalize() {
    while (!suspects_.empty()) {
        const Edge edge = suspects_.back();
        suspects_.pop_back();
        const Triangle& t = triangles_[edge.triangle];
        if (t.isKept[at(edge.side)]) continue;
        const Edge across = opposite(edge);
        if (across.triangle == none || !isInCircle(t.corners[0], t.corners[1], t.corners[2], apex(across)))
            continue;
        flip(edge);
        for (const int side : {0, 1}) {
            suspects_.push_back({edge.triangle, side});
            suspects_.push_back({across.triangle, side});
        }
    }
}

template <class Body>
void ConstrainedDelaunay::around(std::uint32_t vertex, const Body& body) const {
    const auto sideAt = [&](std::uint32_t triangle) {
        const auto& corners = triangles_[triangle].corners;
        return static_cast<int>(std::find(corners.begin(), corners.end(), vertex) - corners.begin());
    };
    const std::uint32_t start = triangleAt_[vertex];
    std::uint32_t triangle = start;
    do { // counter-clockwise, then from the start clockwise where the border ends that
        const int side = sideAt(triangle);
        if (body(triangle, side)) return;
        triangle = triangles_[triangle].neighbours[at(previous(side))];
    } while (triangle != none && triangle != start);
    if (triangle == start) return;
    triangle = triangles_[start].neighbours[at(sideAt(start))];
    while (triangle != none) {
        const int side = sideAt(triangle);
        if (body(triangle, side)) return;
        triangle = triangles_[triangle].neighbours[at(side)];
    }
}

ConstrainedDelaunay::Edge ConstrainedDelaunay::find(std::uint32_t from, std::uint32_t to) const {
    Edge found;
    around(from, [&](std::uint32_t triangle, int side) {
        const auto& corners = triangles_[triangle].corners;
        if (corners[at(next(side))] == to) found = {triangle, side};
        if (corners[at(previous(side))] == to) found = {triangle, previous(side)};
        return found.triangle != none;
    });
    return found;
}

bool ConstrainedDelaunay::keep(std::uint32_t from, std::uint32_t to) {
    while (from != to) {
        // Toward `to`: along an edge to another vertex, or across the far side of a triangle.
        std::uint32_t end = none;
        Edge exit;
        around(from, [&](std::uint32_t triangle, int side) {
            const auto& corners = triangles_[triangle].corners;
            const std::uint32_t right = corners[at(next(side))], left = corners[at(previous(side))];
            const std::int64_t turnRight = orientation(from, right, to),
                               turnLeft = orientation(from, left, to);
            const auto ahead = [&](std::uint32_t vertex) {
                const Point &o = vertices_[from], &p = vertices_[vertex], &q = vertices_[to];
                return std::int64_t{p.x - o.x} * (q.x - o.x) + std::int64_t{p.y - o.y} * (q.y - o.y) > 0;
            };
            if (turnRight == 0 && ahead(right)) end = right;
            else if (turnLeft == 0 && ahead(left)) end = left;
            else if (turnRight > 0 && turnLeft < 0) exit = {triangle, next(side)};
            return end != none || exit.triangle != none;
        });
        if (end == none && exit.triangle == none) return false;
        std::deque<std::pair<std::uint32_t, std::uint32_t>> crossed;
        while (end == none) {
            if (triangles_[exit.triangle].isKept[at(exit.side)]) return false;
            const auto& corners = triangles_[exit.triangle].corners;
            crossed.emplace_back(corners[at(exit.side)], corners[at(next(exit.side))]);
            const Edge entry = opposite(exit);
            const std::uint32_t far = apex(entry);
            const std::int64_t turn = orientation(from, to, far);
            if (turn == 0) end = far;
            else exit = {entry.triangle, turn > 0 ? next(entry.side) : previous(entry.side)};
        }
        std::vector<std::pair<std::uint32_t, std::uint32_t>> made;
        while (!crossed.empty()) {
            const auto [a, b] = crossed.front();
            crossed.pop_front();
            const Edge edge = find(a, b), across = opposite(edge);
            const std::uint32_t c = apex(edge), d = apex(across);
            const auto& corners = triangles_[edge.triangle].corners;
            const std::uint32_t first = corners[at(edge.side)], second = corners[at(next(edge.side))];
            if (orientation(c, first, d) <= 0 || orientation(d, second, c) <= 0) {
                crossed.emplace_back(a, b); // not convex; another flip changes that
                continue;
            }
            flip(edge);
            const std::int64_t sideC = orientation(from, end, c), sideD = orientation(from, end, d);
            const bool stillCrosses = c != from && c != end && d != from && d != end &&
                                      ((sideC > 0 && sideD < 0) || (sideC < 0 && sideD > 0));
            (stillCrosses ? static_cast<void>(crossed.emplace_back(c, d))
                          : static_cast<void>(made.emplace_back(c, d)));
        }
        const Edge kept = find(from, end), keptAcross = opposite(kept);
        triangles_[kept.triangle].isKept[at(kept.side)] = true;
        if (keptAcross.triangle != none) triangles_[keptAcross.triangle].isKept[at(keptAcross.side)] = true;
        for (const auto& [a, b] : made) {
            const Edge edge = find(a, b);
            if (edge.triangle != none) suspects_.push_back(edge);
        }
        legalize();
        from = end;
    }
    return true;
}

} // namespace orca::geometry
