// SPDX-License-Identifier: Apache-2.0
#include "geometry/subdivision/subdivide.h"

#include "base/parallel_for.h"
#include "base/vectors.h"
#include "geometry/subdivision/limit_surface.h"
#include "geometry/tessellation/vertex_layout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <span>

namespace orca::geometry {

namespace {

constexpr std::size_t facesPerChunk = 16;
constexpr std::uint32_t none = 0xffffffffu;

using Face = LimitSurface::Face;

/// How finely every edge and face of the base mesh is divided.
struct Parts {
    std::vector<int> ofEdges;
    std::vector<std::array<int, 2>> ofFaces;
};

SurfaceSample sampleAt(const Face& face, const Face::Coordinate& at) {
    const LimitSurface::Point point = face.evaluate(at);
    return {point.position, point.normal};
}

Parts partsOf(const LimitSurface& surface, std::size_t faces, const Refinement& refinement) {
    Parts parts;
    const scene::SurfaceApproximation& approximation = refinement.approximation();
    if (approximation.isParametric()) {
        const int each = 1 << std::min(approximation.partsU, Refinement::mostHalvings);
        parts.ofEdges.assign(surface.edgeCount(), each);
        parts.ofFaces.assign(faces, {each, each});
        return parts;
    }
    parts.ofEdges.resize(surface.edgeCount());
    parallelFor(surface.edgeCount(), facesPerChunk, [&](std::size_t first, std::size_t last) {
        for (std::size_t edge = first; edge < last; ++edge) {
            const auto [number, which] = surface.faceAt(edge);
            const Face face(surface, number);
            parts.ofEdges[edge] =
                1 << refinement.halvingsOf([&](float t) { return sampleAt(face, face.onEdge(which, t)); });
        }
    });
    parts.ofFaces.resize(faces);
    parallelFor(faces, facesPerChunk, [&](std::size_t first, std::size_t last) {
        for (std::size_t i = first; i < last; ++i) {
            const std::vector<LimitSurface::FaceEdge> edges = surface.edgesOf(i);
            const auto ofEdge = [&](std::size_t k) { return parts.ofEdges[edges[k].edge]; };
            if (edges.size() == 4) {
                const Face face(surface, i);
                const int alongU = refinement.halvingsOf([&](float t) { return sampleAt(face, {t, 0.5f}); });
                const int alongV = refinement.halvingsOf([&](float t) { return sampleAt(face, {0.5f, t}); });
                // Not coarser than both edges along it: their vertices would all join the same few inside.
                parts.ofFaces[i] = {std::max(1 << alongU, std::min(ofEdge(0), ofEdge(2))),
                                    std::max(1 << alongV, std::min(ofEdge(1), ofEdge(3)))};
            } else {
                int most = 1;
                for (std::size_t k = 0; k < edges.size(); ++k) most = std::max(most, ofEdge(k));
                parts.ofFaces[i] = {most, most};
            }
        }
    });
    return parts;
}

std::size_t trianglesOf(const scene::SubdivisionSurface& base, const Parts& parts) {
    const bool isLoop = base.scheme == scene::SubdivisionSurface::Scheme::Loop;
    std::size_t count = 0;
    for (std::size_t i = 0; i < base.faces.size(); ++i) {
        const auto [u, v] = parts.ofFaces[i];
        const std::uint32_t perPart = isLoop ? 1u : base.faces[i].count == 4 ? 2u : base.faces[i].count;
        count += static_cast<std::size_t>(u) * static_cast<std::size_t>(v) * perPart;
    }
    return count;
}

/// A face's vertices and triangles, on their own.
struct Piece {
    std::vector<float> vertices;
    std::vector<std::array<int, 3>> triangles;
    std::size_t onBoundary = 0;
};

class Subdivision {
public:
    Subdivision(const scene::SubdivisionSurface& base, const LimitSurface& surface, const Parts& parts)
        : base_(base), surface_(surface), parts_(parts) {
        list_.layout = surfaceVertexLayout(base.derivatives && !base.textures.empty(), base.motions.size(),
                                           base.textures.size());
        isTagged_ =
            std::any_of(base.faces.begin(), base.faces.end(), [](const auto& f) { return f.label >= 0; });
        hasMaterials_ = std::any_of(base.faces.begin(), base.faces.end(),
                                    [](const auto& f) { return f.material != miNULLTAG; });
        std::uint32_t places = static_cast<std::uint32_t>(base.points.size());
        for (const int edge : parts.ofEdges) {
            firstOnEdge_.push_back(places);
            places += static_cast<std::uint32_t>(edge - 1);
        }
        firstAt_.assign(places, none);
    }

    scene::TriangleList make() {
        // Batches bound the memory of the pieces.
        constexpr std::size_t batch = 4096;
        std::vector<Piece> pieces(std::min(batch, base_.faces.size()));
        for (std::size_t first = 0; first < base_.faces.size(); first += batch) {
            const std::size_t count = std::min(batch, base_.faces.size() - first);
            parallelFor(count, facesPerChunk, [&](std::size_t from, std::size_t to) {
                for (std::size_t i = from; i < to; ++i) pieces[i] = pieceOf(first + i);
            });
            for (std::size_t i = 0; i < count; ++i) append(first + i, pieces[i]);
        }
        list_.vertexCount = static_cast<std::uint32_t>(list_.vertices.size() / stride());
        return std::move(list_);
    }

private:
    [[nodiscard]] std::size_t stride() const { return static_cast<std::size_t>(list_.layout.stride); }

    [[nodiscard]] Piece pieceOf(std::size_t number) const {
        const Face face(surface_, number);
        std::vector<int> edgeParts;
        Piece piece;
        for (const LimitSurface::FaceEdge& each : surface_.edgesOf(number)) {
            edgeParts.push_back(parts_.ofEdges[each.edge]);
            piece.onBoundary += static_cast<std::size_t>(edgeParts.back());
        }
        std::vector<Face::Coordinate> coordinates;
        face.tessellate(edgeParts, parts_.ofFaces[number], coordinates, piece.triangles);
        piece.vertices.resize(coordinates.size() * stride());
        std::vector<miVector> motions(base_.motions.size()), textures(base_.textures.size());
        const scene::VertexLayout& layout = list_.layout;
        for (std::size_t i = 0; i < coordinates.size(); ++i) {
            LimitSurface::Point point;
            face.evaluate(coordinates[i], point, motions.data(), textures.data());
            float* const vertex = &piece.vertices[i * stride()];
            const auto put = [&](int at, const miVector& v) { std::memcpy(vertex + at, &v, sizeof v); };
            put(0, point.position);
            put(layout.normal, point.normal);
            if (layout.derivatives >= 0) {
                put(layout.derivatives, point.derivU);
                put(layout.derivatives + 3, point.derivV);
            }
            for (std::size_t k = 0; k < motions.size(); ++k)
                put(layout.motion + 3 * static_cast<int>(k), motions[k]);
            for (std::size_t k = 0; k < textures.size(); ++k) put(layout.texture[k], textures[k]);
        }
        return piece;
    }

    void append(std::size_t number, const Piece& piece) {
        const scene::SubdivisionSurface::Face& face = base_.faces[number];
        const std::vector<LimitSurface::FaceEdge> edges = surface_.edgesOf(number);
        std::vector<std::uint32_t> vertices;
        for (std::size_t k = 0; k < edges.size(); ++k) {
            const auto parts = static_cast<std::uint32_t>(parts_.ofEdges[edges[k].edge]);
            vertices.push_back(shared(base_.corners[face.first + k], piece, vertices.size()));
            for (std::uint32_t i = 1; i < parts; ++i) {
                const std::uint32_t along = edges[k].reversed ? parts - i : i;
                vertices.push_back(shared(firstOnEdge_[edges[k].edge] + along - 1, piece, vertices.size()));
            }
        }
        const std::size_t count = piece.vertices.size() / stride();
        for (std::size_t i = vertices.size(); i < count; ++i) vertices.push_back(appendVertex(piece, i));
        for (const std::array<int, 3>& triangle : piece.triangles) {
            std::array<std::uint32_t, 3> corners;
            for (std::size_t i = 0; i < 3; ++i) corners[i] = vertices[static_cast<std::size_t>(triangle[i])];
            const auto at = [&](std::size_t i) { return vectorAt(&list_.vertices[corners[i] * stride()]); };
            if (isNull(cross(at(1) - at(0), at(2) - at(0)))) continue; // the base mesh is folded flat here
            list_.indices.insert(list_.indices.end(), corners.begin(), corners.end());
            if (isTagged_) list_.labels.push_back(face.label);
            if (hasMaterials_) list_.materials.push_back(face.material);
        }
    }

    [[nodiscard]] static miVector vectorAt(const float* at) { return {at[0], at[1], at[2]}; }

    std::uint32_t appendVertex(const Piece& piece, std::size_t i) {
        const float* const from = &piece.vertices[i * stride()];
        list_.vertices.insert(list_.vertices.end(), from, from + stride());
        nextAt_.push_back(none);
        return static_cast<std::uint32_t>(nextAt_.size() - 1);
    }

    /// The vertex at a place of the base mesh's edges that agrees with vertex `i` of the piece; a new one at
    /// the same point when none does.
    std::uint32_t shared(std::uint32_t place, const Piece& piece, std::size_t i) {
        const std::uint32_t first = firstAt_[place];
        std::uint32_t last = none;
        for (std::uint32_t vertex = first; vertex != none; vertex = nextAt_[vertex]) {
            if (agree(&list_.vertices[vertex * stride()], &piece.vertices[i * stride()])) return vertex;
            last = vertex;
        }
        const std::uint32_t added = appendVertex(piece, i);
        if (last == none) {
            firstAt_[place] = added;
            return added;
        }
        nextAt_[last] = added;
        const scene::VertexLayout& layout = list_.layout;
        const auto take = [&](int at, int floats) {
            std::copy_n(&list_.vertices[first * stride()] + at, floats,
                        &list_.vertices[added * stride()] + at);
        };
        take(0, 3);
        if (layout.motionCount > 0) take(layout.motion, 3 * layout.motionCount);
        return added;
    }

    [[nodiscard]] bool agree(const float* a, const float* b) const {
        const scene::VertexLayout& layout = list_.layout;
        constexpr float leastCosine = 0.9999f; // of normals that one vertex can have: 0.8 degrees
        if (dot(vectorAt(a + layout.normal), vectorAt(b + layout.normal)) < leastCosine) return false;
        constexpr float tolerance = 1e-5f; // of texture coordinates
        return std::all_of(layout.texture.begin(), layout.texture.end(), [&](int at) {
            for (int i = at; i < at + 3; ++i)
                if (std::abs(a[i] - b[i]) > tolerance * (1.0f + std::abs(a[i]))) return false;
            return true;
        });
    }

    const scene::SubdivisionSurface& base_;
    const LimitSurface& surface_;
    const Parts& parts_;
    scene::TriangleList list_;
    bool isTagged_ = false, hasMaterials_ = false;
    std::vector<std::uint32_t> firstOnEdge_; // place of the first point inside each edge; points come first
    std::vector<std::uint32_t> firstAt_;     // vertex at each place
    std::vector<std::uint32_t> nextAt_;      // and for each vertex the next at its place
};

} // namespace

Subdivided subdivide(const scene::SubdivisionSurface& base, Refinement refinement,
                     std::size_t trianglesAtMost) {
    const LimitSurface surface(base);
    Parts parts = partsOf(surface, base.faces.size(), refinement);
    Subdivided result;
    while (trianglesOf(base, parts) > trianglesAtMost && refinement.coarsen()) {
        result.coarser = true;
        parts = partsOf(surface, base.faces.size(), refinement);
    }
    result.triangles = Subdivision(base, surface, parts).make();
    return result;
}

} // namespace orca::geometry
