// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>

namespace orca::scene {

namespace {

/// Makes the base mesh from a group's vertices. Vertices that take the same vector as their position are one
/// point; their texture coordinates may differ.
class BaseMesh {
public:
    BaseMesh(const PolygonGroup& group, SubdivisionSurface& surface) : group_(group), surface_(surface) {
        surface.motions.resize(group.motions.size());
        surface.textures.resize(group.textures.size());
        coordinates_.resize(group.textures.size());
    }

    [[nodiscard]] bool has(std::int32_t vertex) const {
        return vertex >= 0 && static_cast<std::size_t>(vertex) < group_.position.size();
    }

    std::uint32_t point(std::int32_t vertex) {
        const auto v = static_cast<std::size_t>(vertex);
        const auto [at, isNew] =
            points_.try_emplace(group_.position[v], static_cast<std::uint32_t>(surface_.points.size()));
        if (isNew) {
            surface_.points.push_back(vectorOf(group_.position[v]));
            for (std::size_t segment = 0; segment < group_.motions.size(); ++segment) {
                const auto& motion = group_.motions[segment];
                surface_.motions[segment].push_back(motion.empty() ? miVector{} : vectorOf(motion[v]));
            }
        }
        return at->second;
    }

    void addCorner(std::int32_t vertex) {
        surface_.corners.push_back(point(vertex));
        for (std::size_t space = 0; space < coordinates_.size(); ++space) {
            const auto& given = group_.textures[space].coordinate;
            const std::int32_t vector = given.empty() ? -1 : given[static_cast<std::size_t>(vertex)];
            SubdivisionSurface::TextureSpace& texture = surface_.textures[space];
            const auto [at, isNew] = coordinates_[space].try_emplace(
                vector, static_cast<std::uint32_t>(texture.coordinates.size()));
            if (isNew) texture.coordinates.push_back(vectorOf(vector));
            texture.corners.push_back(at->second);
        }
    }

private:
    [[nodiscard]] miVector vectorOf(std::int32_t index) const {
        return index < 0 || static_cast<std::size_t>(index) >= group_.vectors.size()
                   ? miVector{0, 0, 0}
                   : group_.vectors[static_cast<std::size_t>(index)];
    }

    const PolygonGroup& group_;
    SubdivisionSurface& surface_;
    std::unordered_map<std::int32_t, std::uint32_t> points_; // by position's vector
    std::vector<std::unordered_map<std::int32_t, std::uint32_t>> coordinates_;
};

std::uint64_t edgeOf(std::uint32_t a, std::uint32_t b) {
    return std::uint64_t{std::min(a, b)} << 32 | std::max(a, b);
}

constexpr std::size_t cornersAtMost = 1024; // of a face

} // namespace

/// Reads "subdivision surface" or "ccmesh" after that word, up to and with its end.
void Reader::readSubdivisionSurface(const PolygonGroup& group, ObjectElement& element, const Token& word) {
    const bool isMesh = word.isWord("ccmesh");
    if (!isMesh && !accept("surface")) {
        fail(peek(), "object \"{}\": expected \"surface\" after \"subdivision\", not {}", element.name,
             peek().shown());
    }
    SubdivisionSurface surface;
    surface.location = locationOf(word);
    if (atString()) surface.name = next().text;
    const std::string owner =
        fmt::format("object \"{}\", subdivision surface \"{}\"", element.name, surface.name);
    BaseMesh mesh(group, surface);
    std::vector<Token> places; // of the creases
    std::vector<std::int32_t> vertices;

    // The vertices of a statement; nothing of it is kept when one does not exist.
    const auto readVertexNumbers = [&](std::size_t least) {
        const Token at = peek();
        vertices.clear();
        std::int32_t wrong = 0;
        bool allExist = true;
        for (std::int32_t vertex; stream_.nextInteger(vertex);) {
            if (!mesh.has(vertex) && allExist) {
                wrong = vertex;
                allExist = false;
            }
            vertices.push_back(vertex);
        }
        if (vertices.size() < least) {
            error(locationOf(at), "{}: at least {} vertices are needed here, but there are {}", owner, least,
                  vertices.size());
        } else if (!allExist) {
            error(locationOf(at), "{}: vertex {} is asked for, but there are {}, counted from 0", owner,
                  wrong, group.position.size());
        } else {
            return true;
        }
        return false;
    };
    const auto sharpness = [&] {
        const Token at = peek();
        if (at.kind != Token::Kind::Float) return SubdivisionSurface::infinitelySharp;
        next();
        if (!(at.number >= 0.0f)) fail(at, "{}: sharpness must be at least 0, not {}", owner, at.shown());
        return std::min(at.number, SubdivisionSurface::infinitelySharp);
    };

    for (;;) {
        const Token statement = next();
        if (statement.isWord("polygon")) {
            SubdivisionSurface::Face face{};
            readMaterialOrLabel(element, "polygons", face.material, face.label);
            const Token at = peek();
            if (!readVertexNumbers(3)) continue;
            if (vertices.size() > cornersAtMost) {
                error(locationOf(at), "{}: a polygon has {} vertices; {} are possible", owner,
                      vertices.size(), cornersAtMost);
                continue;
            }
            std::unordered_set<std::int32_t> distinct;
            for (const std::int32_t vertex : vertices)
                distinct.insert(group.position[static_cast<std::size_t>(vertex)]);
            if (distinct.size() != vertices.size()) {
                error(locationOf(at), "{}: a polygon comes to the same point twice", owner);
                continue;
            }
            face.first = static_cast<std::uint32_t>(surface.corners.size());
            face.count = static_cast<std::uint32_t>(vertices.size());
            for (const std::int32_t vertex : vertices) mesh.addCorner(vertex);
            surface.faces.push_back(face);
        } else if (statement.isWord("crease")) {
            const float sharp = sharpness();
            const Token at = peek();
            if (!readVertexNumbers(2)) continue;
            for (std::size_t i = 1; i < vertices.size(); ++i) {
                surface.creases.push_back({{mesh.point(vertices[i - 1]), mesh.point(vertices[i])}, sharp});
                places.push_back(at);
            }
        } else if (statement.isWord("corner")) {
            const float sharp = sharpness();
            if (!readVertexNumbers(1)) continue;
            for (const std::int32_t vertex : vertices)
                surface.sharpPoints.push_back({mesh.point(vertex), sharp});
        } else if (statement.isWord("boundary")) {
            const Token how = next();
            if (!how.isWord("sharp") && !how.isWord("smooth"))
                fail(how, "{}: expected \"sharp\" or \"smooth\" after \"boundary\", not {}", owner,
                     how.shown());
            surface.sharpBoundaryCorners = how.isWord("sharp");
        } else if (statement.isWord("scheme")) {
            const Token which = next();
            if (!which.isWord("loop") && !which.isWord("catmull_clark"))
                fail(which, "{}: expected \"catmull_clark\" or \"loop\" after \"scheme\", not {}", owner,
                     which.shown());
            surface.scheme = which.isWord("loop") ? SubdivisionSurface::Scheme::Loop
                                                  : SubdivisionSurface::Scheme::CatmullClark;
        } else if (statement.isWord("derivative")) {
            while (acceptInteger()) surface.derivatives = true;
        } else if (statement.isWord("end")) {
            if (isMesh) {
                if (!accept("ccmesh"))
                    fail(peek(), "{}: expected \"end ccmesh\", not \"end\" and {}", owner, peek().shown());
            } else if (!accept("subdivision") || !accept("surface")) {
                fail(peek(), "{}: expected \"end subdivision surface\", not \"end\" and {}", owner,
                     peek().shown());
            }
            break;
        } else {
            fail(statement,
                 "{}: expected \"polygon\", \"crease\", \"corner\", \"boundary\", \"scheme\", \"derivative\" "
                 "or \"end\", not {}",
                 owner, statement.shown());
        }
    }
    if (surface.faces.empty()) {
        error(surface.location, "{} has no polygons", owner);
        return;
    }
    const auto isTriangle = [](const SubdivisionSurface::Face& face) { return face.count == 3; };
    if (surface.scheme == SubdivisionSurface::Scheme::Loop &&
        !std::all_of(surface.faces.begin(), surface.faces.end(), isTriangle)) {
        error(surface.location,
              "{}: the scheme \"loop\" is for triangles, and some polygons have more corners", owner);
        return;
    }
    std::unordered_set<std::uint64_t> edges;
    for (const SubdivisionSurface::Face& face : surface.faces)
        for (std::uint32_t i = 0; i < face.count; ++i)
            edges.insert(
                edgeOf(surface.corners[face.first + i], surface.corners[face.first + (i + 1) % face.count]));
    std::size_t kept = 0;
    for (std::size_t i = 0; i < surface.creases.size(); ++i) {
        const SubdivisionSurface::Crease& crease = surface.creases[i];
        if (edges.count(edgeOf(crease.ends[0], crease.ends[1]))) {
            surface.creases[kept++] = crease;
        } else {
            error(locationOf(places[i]),
                  "{}: a crease goes from one vertex to another that no polygon joins by an edge", owner);
        }
    }
    surface.creases.resize(kept);
    element.subdivisionSurfaces.push_back(std::move(surface));
}

} // namespace orca::scene
