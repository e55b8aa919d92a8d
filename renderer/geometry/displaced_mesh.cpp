// SPDX-License-Identifier: Apache-2.0
#include "geometry/displaced_mesh.h"

#include "base/parallel_for.h"
#include "base/parallel_sort.h"
#include "base/vectors.h"
#include "geometry/surface.h"

#include <algorithm>
#include <array>
#include <bit>
#include <compare>
#include <iterator>
#include <map>
#include <numeric>
#include <tuple>

namespace orca::geometry {

namespace {

using Bits = std::array<std::uint32_t, 3>;

/// Equal for vectors that compare equal.
Bits bitsOf(const miVector& v) {
    return {std::bit_cast<std::uint32_t>(v.x + 0.0f), std::bit_cast<std::uint32_t>(v.y + 0.0f),
            std::bit_cast<std::uint32_t>(v.z + 0.0f)};
}

miVector faceOf(const std::vector<miVector>& points, const Mesh::Triangle& t) {
    return cross(points[t[1]] - points[t[0]], points[t[2]] - points[t[0]]);
}

/// All arrays of a mesh that have one entry per vertex.
template <class Body>
void forVertexArrays(Mesh& mesh, const Body& body) {
    for (std::vector<miVector>* array :
         {&mesh.points, &mesh.normals, &mesh.bumpX, &mesh.bumpY, &mesh.derivU, &mesh.derivV})
        if (!array->empty()) body(*array, 1);
    for (std::vector<miVector>& later : mesh.laterPoints) body(later, 1);
    if (mesh.textureSpaces > 0) body(mesh.textures, static_cast<std::size_t>(mesh.textureSpaces));
}

std::uint32_t appendCopy(Mesh& mesh, std::uint32_t vertex) {
    forVertexArrays(mesh, [&](std::vector<miVector>& array, std::size_t width) {
        for (std::size_t i = 0; i < width; ++i) array.push_back(array[vertex * width + i]);
    });
    return static_cast<std::uint32_t>(mesh.points.size() - 1);
}

std::uint64_t keyOf(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::uint64_t>(std::min(a, b)) << 32 | std::max(a, b);
}

constexpr std::size_t perChunk = 4096;

} // namespace

/// A halved edge, as one of its triangles has it.
struct DisplacedMesh::Edge {
    std::uint64_t position; ///< its ends' positions
    std::uint32_t a, b;     ///< its ends, ordered by position
    std::uint32_t triangle;

    [[nodiscard]] auto order() const { return std::tie(position, a, b, triangle); }
    [[nodiscard]] bool sameEnds(const Edge& other) const { return a == other.a && b == other.b; }
};

DisplacedMesh::DisplacedMesh(Mesh& baseMesh, const MeshInstance& baseInstance)
    : mesh(baseMesh), meshInstance(baseInstance) {
    giveNormals();
    materials.assign(mesh.points.size(), miNULLTAG);
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i)
        for (const std::uint32_t v : mesh.triangles[i])
            if (materials[v] == miNULLTAG)
                materials[v] = materialOf(meshInstance, mesh, static_cast<std::uint32_t>(i));
    findCoincident();
}

/// Corners without a normal become vertices of their own, one for each plane that meets there.
void DisplacedMesh::giveNormals() {
    if (mesh.normals.empty()) mesh.normals.assign(mesh.points.size(), miVector{0.0f, 0.0f, 0.0f});
    std::map<std::pair<std::uint32_t, Bits>, std::uint32_t> cornerOf;
    std::vector<bool> bare(mesh.points.size());
    for (std::size_t v = 0; v < bare.size(); ++v) bare[v] = isNull(mesh.normals[v]);
    for (Mesh::Triangle& triangle : mesh.triangles) {
        // As the renderer takes it: one corner without a normal, and the whole triangle is flat.
        if (std::none_of(triangle.begin(), triangle.end(), [&](std::uint32_t v) { return bare[v]; }))
            continue;
        const miVector normal = normalized(faceOf(mesh.points, triangle));
        for (std::uint32_t& v : triangle) {
            const auto [entry, isNew] = cornerOf.try_emplace({v, bitsOf(normal)}, 0u);
            if (isNew) {
                entry->second = appendCopy(mesh, v);
                mesh.normals[entry->second] = normal;
            }
            v = entry->second;
        }
    }
}

/// Vertices of no triangle are left out: they do not move, and must not hold others back.
void DisplacedMesh::findCoincident() {
    const auto count = static_cast<std::uint32_t>(mesh.points.size());
    positions_.resize(count);
    std::iota(positions_.begin(), positions_.end(), 0u);
    creases_ = positions_;
    std::vector<std::uint32_t> order;
    std::copy_if(positions_.begin(), positions_.end(), std::back_inserter(order),
                 [&](std::uint32_t v) { return materials[v] != miNULLTAG; });
    // At one position at all times.
    const auto comparePositions = [&](std::uint32_t a, std::uint32_t b) {
        std::strong_ordering result = bitsOf(mesh.points[a]) <=> bitsOf(mesh.points[b]);
        for (std::size_t i = 0; result == 0 && i < mesh.laterPoints.size(); ++i)
            result = bitsOf(mesh.laterPoints[i][a]) <=> bitsOf(mesh.laterPoints[i][b]);
        return result;
    };
    parallelSort(order, [&](std::uint32_t a, std::uint32_t b) {
        const std::strong_ordering positions = comparePositions(a, b);
        if (positions != 0) return positions < 0;
        return std::pair(bitsOf(mesh.normals[a]), a) < std::pair(bitsOf(mesh.normals[b]), b);
    });
    for (std::size_t i = 1; i < order.size(); ++i) {
        const std::uint32_t v = order[i];
        const bool coincident = comparePositions(order[i - 1], v) == 0;
        positions_[v] = coincident ? positions_[order[i - 1]] : v;
        creases_[v] = coincident && bitsOf(mesh.normals[order[i - 1]]) == bitsOf(mesh.normals[v])
                          ? creases_[order[i - 1]]
                          : v;
    }
}

std::pair<std::uint32_t, std::uint32_t> DisplacedMesh::endsInOrder(const Mesh::Triangle& triangle,
                                                                   int edge) const {
    const std::uint32_t a = triangle[static_cast<std::size_t>(edge)];
    const std::uint32_t b = triangle[static_cast<std::size_t>((edge + 1) % 3)];
    return positions_[a] < positions_[b] ? std::pair(a, b) : std::pair(b, a);
}

void DisplacedMesh::appendMidpoint(const Edge& edge) {
    forVertexArrays(mesh, [&](std::vector<miVector>& array, std::size_t width) {
        for (std::size_t i = 0; i < width; ++i)
            array.push_back(0.5f * (array[edge.a * width + i] + array[edge.b * width + i]));
    });
    mesh.normals.back() = normalized(mesh.normals.back());
}

void DisplacedMesh::appendTriangle(std::uint32_t parent, const Mesh::Triangle& triangle) {
    mesh.triangles.push_back(triangle);
    if (!mesh.materials.empty()) mesh.materials.push_back(mesh.materials[parent]);
    if (!mesh.labels.empty()) mesh.labels.push_back(mesh.labels[parent]);
}

std::vector<std::uint32_t> DisplacedMesh::split(const std::vector<std::uint32_t>& triangles,
                                                const std::vector<std::uint8_t>& marks) {
    std::vector<Edge> edges;
    const auto edgeOf = [&](std::uint32_t triangle, int edge) {
        const auto [a, b] = endsInOrder(mesh.triangles[triangle], edge);
        return Edge{keyOf(positions_[a], positions_[b]), a, b, triangle};
    };
    for (std::size_t i = 0; i < triangles.size(); ++i)
        for (int edge = 0; edge < 3; ++edge)
            if (marks[i] & 1u << edge) edges.push_back(edgeOf(triangles[i], edge));
    parallelSort(edges, [](const Edge& x, const Edge& y) { return x.order() < y.order(); });
    edges.erase(
        std::unique(edges.begin(), edges.end(), [](const Edge& x, const Edge& y) { return x.sameEnds(y); }),
        edges.end());

    const auto base = static_cast<std::uint32_t>(mesh.points.size());
    const std::size_t all = base + edges.size();
    forVertexArrays(mesh, [&](std::vector<miVector>& array, std::size_t width) {
        array.reserve(all * width + 1); // the ray-tracing kernel reads whole 16-byte words
    });
    positions_.resize(all);
    creases_.resize(all);
    materials.resize(all);
    for (std::uint32_t i = 0; i < edges.size(); ++i) {
        const Edge& edge = edges[i];
        appendMidpoint(edge);
        const std::uint32_t v = base + i;
        // The two ends' materials differ where materials meet: then the first triangle's side decides.
        materials[v] = materials[edge.a] == materials[edge.b] ? materials[edge.a]
                                                              : materialOf(meshInstance, mesh, edge.triangle);
        positions_[v] = creases_[v] = v;
        for (std::uint32_t k = i; k > 0 && edges[k - 1].position == edge.position; --k) {
            const Edge& twin = edges[k - 1];
            positions_[v] = base + k - 1;
            if (creases_[twin.a] == creases_[edge.a] && creases_[twin.b] == creases_[edge.b])
                creases_[v] = base + k - 1;
        }
    }

    const auto midpoint = [&](std::uint32_t triangle, int edge) {
        const Edge wanted = edgeOf(triangle, edge);
        const auto found =
            std::lower_bound(edges.begin(), edges.end(), wanted, [](const Edge& x, const Edge& y) {
                return std::tie(x.position, x.a, x.b) < std::tie(y.position, y.a, y.b);
            });
        return base + static_cast<std::uint32_t>(found - edges.begin());
    };
    std::vector<std::uint32_t> next;
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        if (!marks[i]) continue;
        const std::uint32_t number = triangles[i];
        const Mesh::Triangle t = mesh.triangles[number];
        std::array<std::uint32_t, 3> m{};
        for (int edge = 0; edge < 3; ++edge)
            if (marks[i] & 1u << edge) m[static_cast<std::size_t>(edge)] = midpoint(number, edge);
        std::array<Mesh::Triangle, 4> pieces;
        std::size_t count = 0;
        const int halved = std::popcount(marks[i]);
        if (halved == 3) {
            pieces = {{{m[0], m[1], m[2]}, {t[0], m[0], m[2]}, {m[0], t[1], m[1]}, {m[2], m[1], t[2]}}};
            count = 4;
        } else {
            // Turned so that edge 0 is halved, and with two halved ones edge 1 as well.
            std::size_t r = 0;
            while (!(marks[i] & 1u << r) || (halved == 2 && !(marks[i] & 1u << (r + 1) % 3))) ++r;
            const std::uint32_t a = t[r], b = t[(r + 1) % 3], c = t[(r + 2) % 3];
            const std::uint32_t ab = m[r], bc = m[(r + 1) % 3];
            if (halved == 1) {
                pieces[0] = {a, ab, c};
                pieces[1] = {ab, b, c};
                count = 2;
            } else {
                const miVector one = mesh.points[bc] - mesh.points[a],
                               other = mesh.points[c] - mesh.points[ab];
                const bool fromA = dot(one, one) < dot(other, other); // along the shorter diagonal
                pieces[0] = {ab, b, bc};
                pieces[1] = fromA ? Mesh::Triangle{a, ab, bc} : Mesh::Triangle{a, ab, c};
                pieces[2] = fromA ? Mesh::Triangle{a, bc, c} : Mesh::Triangle{ab, bc, c};
                count = 3;
            }
        }
        mesh.triangles[number] = pieces[0];
        next.push_back(number);
        for (std::size_t k = 1; k < count; ++k) {
            next.push_back(static_cast<std::uint32_t>(mesh.triangles.size()));
            appendTriangle(number, pieces[k]);
        }
    }
    return next;
}

void DisplacedMesh::joinCoincident(std::size_t first) {
    // Coincident vertices are made by one call. The first collects the sum, then all take the mean.
    const std::size_t count = vertexCount();
    std::vector<std::uint32_t> members(count - first, 0u);
    for (std::size_t v = first; v < count; ++v) {
        const std::uint32_t position = positions_[v];
        ++members[position - first];
        if (position != v) offsets[position] = offsets[position] + offsets[v];
    }
    for (std::size_t v = first; v < count; ++v)
        if (members[v - first] > 1) offsets[v] = (1.0f / static_cast<float>(members[v - first])) * offsets[v];
    for (std::size_t v = first; v < count; ++v) offsets[v] = offsets[positions_[v]];
}

void DisplacedMesh::finish() {
    std::vector<miVector> before(mesh.points.size(), miVector{0.0f, 0.0f, 0.0f}), after = before;
    const auto addFaces = [&](std::vector<miVector>& sums) {
        for (const Mesh::Triangle& t : mesh.triangles) {
            const miVector face = faceOf(mesh.points, t); // weighs by area
            for (const std::uint32_t v : t) sums[creases_[v]] = sums[creases_[v]] + face;
        }
    };
    addFaces(before);
    parallelFor(mesh.points.size(), perChunk, [&](std::size_t from, std::size_t to) {
        for (std::size_t v = from; v < to; ++v) {
            mesh.points[v] = mesh.points[v] + offsets[v];
            for (std::vector<miVector>& later : mesh.laterPoints) later[v] = later[v] + offsets[v];
        }
    });
    addFaces(after);
    for (std::size_t v = 0; v < mesh.points.size(); ++v) {
        const miVector normal = normalized(after[creases_[v]]);
        if (isNull(normal)) continue; // folded flat, or of no triangle
        // Given normals may point to the side from which the corners turn clockwise.
        mesh.normals[v] = dot(before[creases_[v]], mesh.normals[v]) < 0.0f ? -1.0f * normal : normal;
    }
}

} // namespace orca::geometry
