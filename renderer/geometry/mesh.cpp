// SPDX-License-Identifier: Apache-2.0
#include "geometry/mesh.h"

#include "base/parallel_for.h"
#include "base/vectors.h"
#include "geometry/motion_segments.h"
#include "geometry/triangulate.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>

namespace orca::geometry {

namespace {

struct Faults {
    std::size_t badIndex = 0, degenerate = 0, notSimple = 0;

    void operator+=(const Faults& other) {
        badIndex += other.badIndex;
        degenerate += other.degenerate;
        notSimple += other.notSimple;
    }
};

[[nodiscard]] bool isFinite(const miVector& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

[[nodiscard]] bool hasArea(const miVector& a, const miVector& b, const miVector& c) {
    const miVector normal = cross(b - a, c - a);
    return isFinite(normal) && !isNull(normal);
}

/// Grows an optional vertex array to `vertices` entries, the new ones null, once any part of the object fills
/// it.
void growTo(std::vector<miVector>& array, std::size_t vertices) {
    array.reserve(vertices + 1); // the ray-tracing kernel reads whole 16-byte words, also of the last vertex
    array.resize(vertices, miVector{0, 0, 0});
}

constexpr std::size_t verticesPerChunk = 4096;

/// What the parts of an object (groups, triangle lists) have in common decides which vertex arrays the mesh
/// has.
struct Parts {
    bool normals = false, bumps = false, derivatives = false, tagged = false, materials = false;
    std::size_t textureSpaces = 0;
    MotionSegments motion;
};

Parts partsOf(const scene::ObjectElement& object, const std::vector<scene::TriangleList>& curved) {
    Parts parts;
    for (const auto& group : object.groups) {
        parts.normals |= !group.normal.empty();
        parts.motion.add(group);
        parts.derivatives |= !group.derivU.empty() && !group.derivV.empty();
        parts.bumps |= !group.textures.empty() && !group.textures[0].bumpX.empty();
        parts.textureSpaces = std::max(parts.textureSpaces, group.textures.size());
        for (const auto& polygon : group.polygons) {
            parts.materials |= polygon.material != miNULLTAG;
            parts.tagged |= polygon.label >= 0;
        }
    }
    const auto include = [&](const scene::TriangleList& list) {
        parts.normals |= list.layout.normal >= 0;
        parts.motion.add(list);
        parts.derivatives |= list.layout.derivatives >= 0;
        parts.bumps |= list.layout.bump >= 0 && list.layout.bumpCount > 0;
        parts.textureSpaces = std::max(parts.textureSpaces, list.layout.texture.size());
        parts.tagged |= !list.labels.empty();
        parts.materials |= !list.materials.empty();
    };
    for (const auto& list : object.triangleLists) include(list);
    for (const auto& list : curved) include(list);
    return parts;
}

class MeshBuilder {
public:
    MeshBuilder(const scene::ObjectElement& object, const std::vector<scene::TriangleList>& curved)
        : parts_(partsOf(object, curved)) {
        mesh_.textureSpaces = static_cast<int>(parts_.textureSpaces);
        mesh_.laterPoints.resize(static_cast<std::size_t>(parts_.motion.common()));
    }

    void add(const scene::PolygonGroup& group) {
        const std::size_t base = growVertices(group.position.size());
        parallelFor(group.position.size(), verticesPerChunk, [&](std::size_t first, std::size_t last) {
            for (std::size_t i = first; i < last; ++i) fillVertex(group, i, base + i);
        });
        cut(group, base);
    }

    void add(const scene::TriangleList& list) {
        const std::size_t base = growVertices(list.vertexCount);
        parallelFor(list.vertexCount, verticesPerChunk, [&](std::size_t first, std::size_t last) {
            for (std::size_t i = first; i < last; ++i) fillVertex(list, i, base + i);
        });
        const std::size_t count = list.indices.size() / 3;
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t* const corners = &list.indices[3 * i];
            if (std::any_of(corners, corners + 3, [&](std::uint32_t c) { return c >= list.vertexCount; })) {
                ++faults_.badIndex;
                continue;
            }
            const auto at = [&](int k) { return static_cast<std::uint32_t>(base + corners[k]); };
            if (!hasArea(mesh_.points[at(0)], mesh_.points[at(1)], mesh_.points[at(2)])) {
                ++faults_.degenerate;
                continue;
            }
            addTriangle({at(0), at(1), at(2)}, list.materials.empty() ? miNULLTAG : list.materials[i],
                        list.labels.empty() ? -1 : list.labels[i]);
        }
    }

    [[nodiscard]] const Faults& faults() const { return faults_; }
    [[nodiscard]] const MotionSegments& motion() const { return parts_.motion; }
    [[nodiscard]] Mesh finish() {
        // Motions were collected as displacements; a mesh that does not move needs no more copies.
        const auto isStill = [](const std::vector<miVector>& displacements) {
            return std::all_of(displacements.begin(), displacements.end(), isNull);
        };
        if (std::all_of(mesh_.laterPoints.begin(), mesh_.laterPoints.end(), isStill))
            mesh_.laterPoints.clear();
        for (std::vector<miVector>& later : mesh_.laterPoints)
            for (std::size_t i = 0; i < later.size(); ++i) later[i] = mesh_.points[i] + later[i];
        return std::move(mesh_);
    }

private:
    std::size_t growVertices(std::size_t count) {
        const std::size_t base = mesh_.points.size(), all = base + count;
        growTo(mesh_.points, all);
        if (parts_.normals) growTo(mesh_.normals, all);
        for (std::vector<miVector>& later : mesh_.laterPoints) growTo(later, all);
        if (parts_.derivatives) {
            growTo(mesh_.derivU, all);
            growTo(mesh_.derivV, all);
        }
        if (parts_.bumps) {
            growTo(mesh_.bumpX, all);
            growTo(mesh_.bumpY, all);
        }
        growTo(mesh_.textures, all * parts_.textureSpaces);
        return base;
    }

    void fillVertex(const scene::PolygonGroup& group, std::size_t i, std::size_t to) {
        const auto fetch = [&](const std::vector<std::int32_t>& part, miVector& value) {
            if (part.empty() || part[i] < 0 || static_cast<std::size_t>(part[i]) >= group.vectors.size())
                return;
            value = group.vectors[static_cast<std::size_t>(part[i])];
        };
        fetch(group.position, mesh_.points[to]);
        if (!group.normal.empty()) {
            fetch(group.normal, mesh_.normals[to]);
            mesh_.normals[to] = normalized(mesh_.normals[to]);
        }
        moveVertex(to, MotionSegments::of(group, i), [&](std::size_t segment) {
            miVector motion{};
            fetch(group.motions[segment], motion);
            return motion;
        });
        if (!group.derivU.empty() && !group.derivV.empty()) {
            fetch(group.derivU, mesh_.derivU[to]);
            fetch(group.derivV, mesh_.derivV[to]);
        }
        for (std::size_t space = 0; space < group.textures.size(); ++space)
            fetch(group.textures[space].coordinate, mesh_.textures[to * parts_.textureSpaces + space]);
        if (parts_.bumps && !group.textures.empty()) {
            fetch(group.textures[0].bumpX, mesh_.bumpX[to]);
            fetch(group.textures[0].bumpY, mesh_.bumpY[to]);
        }
    }

    void fillVertex(const scene::TriangleList& list, std::size_t i, std::size_t to) {
        const auto& layout = list.layout;
        const float* const vertex = &list.vertices[i * static_cast<std::size_t>(layout.stride)];
        const auto fetch = [&](int offset, int dimension, miVector& value) {
            if (offset < 0) return;
            const float* const from = vertex + offset;
            value = {dimension > 0 ? from[0] : 0.0f, dimension > 1 ? from[1] : 0.0f,
                     dimension > 2 ? from[2] : 0.0f};
        };
        fetch(0, 3, mesh_.points[to]);
        if (layout.normal >= 0) {
            fetch(layout.normal, 3, mesh_.normals[to]);
            mesh_.normals[to] = normalized(mesh_.normals[to]);
        }
        moveVertex(to, static_cast<std::size_t>(layout.motionCount), [&](std::size_t segment) {
            miVector motion{};
            fetch(layout.motion + 3 * static_cast<int>(segment), 3, motion);
            return motion;
        });
        if (layout.derivatives >= 0) {
            fetch(layout.derivatives, 3, mesh_.derivU[to]);
            fetch(layout.derivatives + 3, 3, mesh_.derivV[to]);
        }
        for (std::size_t space = 0; space < layout.texture.size(); ++space)
            fetch(layout.texture[space], layout.textureDimension[space],
                  mesh_.textures[to * parts_.textureSpaces + space]);
        if (layout.bump >= 0 && layout.bumpCount > 0) {
            fetch(layout.bump, 3, mesh_.bumpX[to]);
            fetch(layout.bump + 3, 3, mesh_.bumpY[to]);
        }
    }

    /// Notes a vertex's displacements from the start of the shutter, from those along its own segments.
    template <class MotionOf>
    void moveVertex(std::size_t vertex, std::size_t segments, const MotionOf& motionOf) {
        const std::size_t all = mesh_.laterPoints.size();
        if (segments == 0 || all == 0) return;
        miVector whole{0, 0, 0}; // along the segments that have ended
        std::size_t ended = 0;
        for (std::size_t i = 1; i <= all; ++i) {
            for (; ended < i * segments / all; ++ended) whole = whole + motionOf(ended);
            const std::size_t rest = i * segments % all;
            miVector& displacement = mesh_.laterPoints[i - 1][vertex];
            displacement = whole;
            if (rest == 0) continue;
            displacement =
                displacement + static_cast<float>(rest) / static_cast<float>(all) * motionOf(ended);
        }
    }

    /// Triangles of a run of polygons, cut by one thread.
    struct Chunk {
        std::vector<Mesh::Triangle> triangles;
        std::vector<std::uint32_t> polygonOf;
        Faults faults;
    };

    void cut(const scene::PolygonGroup& group, std::size_t base) {
        constexpr std::size_t chunkSize = 2048; // polygons
        const std::size_t count = group.polygons.size();
        std::vector<Chunk> chunks((count + chunkSize - 1) / chunkSize);
        parallelFor(chunks.size(), 1, [&](std::size_t i, std::size_t) {
            for (std::size_t k = i * chunkSize; k < std::min(count, (i + 1) * chunkSize); ++k)
                cut(group, base, static_cast<std::uint32_t>(k), chunks[i]);
        });
        for (const Chunk& chunk : chunks) {
            faults_ += chunk.faults;
            for (std::size_t i = 0; i < chunk.triangles.size(); ++i) {
                const auto& polygon = group.polygons[chunk.polygonOf[i]];
                addTriangle(chunk.triangles[i], polygon.material, polygon.label);
            }
        }
    }

    void cut(const scene::PolygonGroup& group, std::size_t base, std::uint32_t number, Chunk& chunk) const {
        const auto& polygon = group.polygons[number];
        thread_local std::vector<std::uint32_t> vertices, loopSizes;
        thread_local std::vector<miVector> corners;
        thread_local std::vector<Mesh::Triangle> pieces;
        vertices.clear();
        loopSizes.clear();
        corners.clear();
        pieces.clear();
        for (std::uint32_t i = polygon.firstLoop; i < polygon.firstLoop + polygon.loopCount; ++i) {
            const auto& loop = group.loops[i];
            loopSizes.push_back(loop.count);
            for (std::uint32_t k = loop.first; k < loop.first + loop.count; ++k) {
                if (group.corners[k] >= group.position.size()) {
                    ++chunk.faults.badIndex;
                    return;
                }
                const auto vertex = static_cast<std::uint32_t>(base + group.corners[k]);
                vertices.push_back(vertex);
                corners.push_back(mesh_.points[vertex]);
            }
        }
        if (!std::all_of(corners.begin(), corners.end(), isFinite)) {
            ++chunk.faults.degenerate;
            return;
        }
        const std::uint32_t size = loopSizes.empty() ? 0 : loopSizes[0];
        if (loopSizes.size() == 1 && (size == 3 || (size == 4 && isConvexQuad(corners)))) {
            pieces.push_back({0, 1, 2});
            if (size == 4) pieces.push_back({0, 2, 3});
        } else if (loopSizes.size() == 1 && polygon.convex && size > 4) {
            for (std::uint32_t k = 1; k + 1 < size; ++k) pieces.push_back({0, k, k + 1});
        } else {
            switch (triangulate(corners, loopSizes, pieces)) {
            case PolygonFault::None: break;
            case PolygonFault::Degenerate: ++chunk.faults.degenerate; return;
            case PolygonFault::NotSimple: ++chunk.faults.notSimple; break;
            }
        }
        bool anyArea = false;
        for (const Mesh::Triangle& piece : pieces) {
            if (!hasArea(corners[piece[0]], corners[piece[1]], corners[piece[2]])) continue;
            anyArea = true;
            chunk.triangles.push_back({vertices[piece[0]], vertices[piece[1]], vertices[piece[2]]});
            chunk.polygonOf.push_back(number);
        }
        if (!anyArea) ++chunk.faults.degenerate;
    }

    /// True when the cut along the first diagonal leaves two triangles that turn alike.
    [[nodiscard]] static bool isConvexQuad(std::span<const miVector> p) {
        const miVector first = cross(p[1] - p[0], p[2] - p[0]), second = cross(p[2] - p[0], p[3] - p[0]);
        const miVector third = cross(p[2] - p[1], p[3] - p[1]), fourth = cross(p[3] - p[1], p[0] - p[1]);
        return dot(first, second) > 0.0f && dot(third, fourth) > 0.0f && dot(first, third) > 0.0f;
    }

    void addTriangle(const Mesh::Triangle& triangle, miTag material, std::int32_t label) {
        mesh_.triangles.push_back(triangle);
        if (parts_.materials) mesh_.materials.push_back(material);
        if (parts_.tagged) mesh_.labels.push_back(label);
    }

    Parts parts_;
    Mesh mesh_;
    Faults faults_;
};

} // namespace

Mesh buildMesh(const scene::ObjectElement& object, Log& log, const SurfaceSettings& surfaces) {
    const std::vector<scene::TriangleList> curved = tessellateSurfaces(object, surfaces, log);
    MeshBuilder builder(object, curved);
    for (const auto& group : object.groups) builder.add(group);
    for (const auto& list : object.triangleLists) builder.add(list);
    for (const auto& list : curved) builder.add(list);

    const Faults& faults = builder.faults();
    if (faults.badIndex)
        log.errorAt(object.location, "GEOM",
                    "object \"{}\": {} polygons name vertices that do not exist; left out", object.name,
                    faults.badIndex);
    if (faults.degenerate)
        log.warningAt(object.location, "GEOM", "object \"{}\": {} polygons without area left out",
                      object.name, faults.degenerate);
    if (faults.notSimple)
        log.warningAt(
            object.location, "GEOM",
            "object \"{}\": {} polygons cross themselves or have holes that reach outside; they may be "
            "filled wrongly",
            object.name, faults.notSimple);
    if (!builder.motion().followsAll())
        log.warningAt(
            object.location, "GEOM",
            "object \"{}\" has vertices with {} motion vectors, whose steps only meet in more than {}; its "
            "motion is followed in {} steps and cuts corners (give all vertices the same number, at most {})",
            object.name, builder.motion().counts(), scene::motionStepsAtMost, scene::motionStepsAtMost,
            scene::motionStepsAtMost);
    Mesh mesh = builder.finish();
    if (object.hair && !mesh.triangles.empty()) {
        log.errorAt(
            object.location, "GEOM",
            "object \"{}\" has hairs and surfaces; the hairs are left out (give them an object of their own)",
            object.name);
    } else if (object.hair) {
        mesh.hair = buildHairSegments(object, log);
        mesh.textureSpaces = static_cast<int>(object.hair->hairLayout.texture.size() +
                                              object.hair->vertexLayout.texture.size());
    }
    return mesh;
}

void placeInWorld(Mesh& mesh, const miScalar* localToGlobal, const miScalar* globalToLocal) {
    const auto place = [&](std::vector<miVector>& points) {
        parallelFor(points.size(), verticesPerChunk, [&](std::size_t first, std::size_t last) {
            for (std::size_t i = first; i < last; ++i) points[i] = transformPoint(points[i], localToGlobal);
        });
    };
    place(mesh.points);
    for (std::vector<miVector>& later : mesh.laterPoints) place(later);
    for (miVector& normal : mesh.normals) normal = transformNormal(normal, globalToLocal);
}

} // namespace orca::geometry
