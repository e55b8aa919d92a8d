// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orca::geometry {

/// Delaunay triangulation of points in a rectangle that keeps given segments as edges. Points have integer
/// coordinates, so that all decisions are exact. Points are inserted one by one (Lawson, "Software for C1
/// surface interpolation", 1977), segments by exchanging the edges that they cross (Sloan, "A fast algorithm
/// for generating constrained Delaunay triangulations", 1993).
class ConstrainedDelaunay {
public:
    static constexpr std::int32_t largestCoordinate = 1 << 26;

    struct Point {
        std::int32_t x, y;
        bool operator==(const Point&) const = default;
    };
    struct Triangle {
        std::array<std::uint32_t, 3> corners; ///< counter-clockwise
        std::array<std::uint32_t, 3>
            neighbours;             ///< across the edge from corner i to the next; `none`: outside
        std::array<bool, 3> isKept; ///< that edge is of a segment
    };
    static constexpr std::uint32_t none = 0xffffffffu;

    /// Triangulates points in the rectangle from the origin to `upper`; its corners are added.
    ConstrainedDelaunay(Point upper, std::span<const Point> points);

    /// The number that a point has in triangles: that of the first at its place.
    [[nodiscard]] std::uint32_t vertexOf(std::size_t point) const { return vertexOf_[point]; }
    /// Keeps the segment between two vertices, in parts where it meets others. False when it crosses one that
    /// is kept; then only a part of it is.
    [[nodiscard]] bool keep(std::uint32_t from, std::uint32_t to);

    [[nodiscard]] std::span<const Triangle> triangles() const { return triangles_; }
    [[nodiscard]] std::span<const Point> vertices() const { return vertices_; }

private:
    struct Edge {
        std::uint32_t triangle = none;
        int side = 0;
    };
    void insert(std::uint32_t vertex);
    void split(std::uint32_t triangle, std::uint32_t vertex);
    void splitEdge(Edge edge, std::uint32_t vertex);
    void legalize();
    void flip(Edge edge);
    void setNeighbour(std::uint32_t triangle, std::uint32_t oldNeighbour, std::uint32_t newNeighbour);
    void touch(std::uint32_t triangle);
    [[nodiscard]] Edge find(std::uint32_t from, std::uint32_t to) const;
    [[nodiscard]] Edge opposite(Edge edge) const;
    [[nodiscard]] std::uint32_t apex(Edge edge) const;
    /// The triangles around a vertex, in any order.
    template <class Body>
    void around(std::uint32_t vertex, const Body& body) const;
    [[nodiscard]] std::int64_t orientation(std::uint32_t a, std::uint32_t b, std::uint32_t c) const;
    [[nodiscard]] bool isInCircle(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) const;

    std::vector<Point> vertices_;
    std::vector<std::uint32_t> vertexOf_; // by point
    std::vector<Triangle> triangles_;
    std::vector<std::uint32_t> triangleAt_; // one at every vertex
    std::vector<Edge> suspects_;            // that may have to be flipped
    std::uint32_t last_ = 0;                // triangle where the search for the next point starts
};

} // namespace orca::geometry
