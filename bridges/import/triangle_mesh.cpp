// SPDX-License-Identifier: Apache-2.0
#include "triangle_mesh.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

namespace orca::bridge {

namespace {

bool isFinite(const aiVector3D& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// For each row of `words` floats, the number of the first row with the same bits.
std::vector<std::uint32_t> firstEqual(const float* rows, std::size_t count, std::size_t words) {
    constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();
    std::vector<std::uint32_t> table(std::bit_ceil(2 * count + 1), none), first(count);
    const std::size_t mask = table.size() - 1;
    for (std::size_t row = 0; row < count; ++row) {
        const float* const values = rows + row * words;
        std::uint64_t hash = 14695981039346656037u; // FNV-1a on words, mixed at the end
        for (std::size_t i = 0; i < words; ++i)
            hash = (hash ^ std::bit_cast<std::uint32_t>(values[i])) * 1099511628211u;
        std::size_t slot = (hash ^ hash >> 29) & mask;
        while (table[slot] != none && std::memcmp(rows + table[slot] * words, values, 4 * words) != 0)
            slot = (slot + 1) & mask;
        if (table[slot] == none) table[slot] = static_cast<std::uint32_t>(row);
        first[row] = table[slot];
    }
    return first;
}

/// Whether corners lie on a line, in which case the face is nothing that could be seen.
bool isFlat(const aiVector3D& a, const aiVector3D& b, const aiVector3D& c) {
    using Vector = aiVector3t<double>;
    const auto edge = [&](const aiVector3D& to) {
        return Vector(double{to.x} - a.x, double{to.y} - a.y, double{to.z} - a.z);
    };
    return (edge(b) ^ edge(c)).SquareLength() == 0;
}

/// Three indices a triangle; faces that are none, or that name what is not there, are left out.
std::vector<std::int32_t> cornersOf(const aiMesh& mesh, std::span<const aiVector3D> positions,
                                    std::size_t& dropped) {
    std::vector<bool> isUsable(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) isUsable[i] = isFinite(positions[i]);
    std::vector<std::int32_t> corners;
    corners.reserve(std::size_t{3} * mesh.mNumFaces);
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
        const aiFace& face = mesh.mFaces[f];
        if (face.mNumIndices != 3) continue; // points and lines
        const unsigned* const v = face.mIndices;
        if (!std::all_of(v, v + 3, [&](unsigned i) { return i < isUsable.size() && isUsable[i]; })) ++dropped;
        else if (!isFlat(positions[v[0]], positions[v[1]], positions[v[2]]))
            corners.insert(corners.end(), v, v + 3);
    }
    return corners;
}

/// A normal for each corner.
std::vector<aiVector3D> creasedNormals(const std::vector<std::int32_t>& corners,
                                       std::span<const aiVector3D> positions, double creaseDegrees) {
    const std::size_t faces = corners.size() / 3;
    if (faces == 0) return {};
    std::vector<aiVector3D> byArea(faces), unit(faces);
    for (std::size_t f = 0; f < faces; ++f) {
        const aiVector3D &a = positions[corners[3 * f]], &b = positions[corners[3 * f + 1]],
                         &c = positions[corners[3 * f + 2]];
        unit[f] = byArea[f] = (b - a) ^ (c - a);
        unit[f].NormalizeSafe();
    }
    // The faces around each place: from start[place] to start[place + 1].
    static_assert(sizeof(aiVector3D) == 3 * sizeof(float));
    const std::vector<std::uint32_t> place = firstEqual(&positions[0].x, positions.size(), 3);
    std::vector<std::uint32_t> start(positions.size() + 2, 0), around(corners.size());
    for (const std::int32_t corner : corners) ++start[place[corner] + 2];
    for (std::size_t i = 2; i < start.size(); ++i) start[i] += start[i - 1];
    for (std::size_t i = 0; i < corners.size(); ++i)
        around[start[place[corners[i]] + 1]++] = static_cast<std::uint32_t>(i / 3);

    const auto least = static_cast<float>(std::cos(creaseDegrees * std::numbers::pi / 180));
    std::vector<aiVector3D> normals(corners.size());
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const std::size_t own = i / 3, at = place[corners[i]];
        aiVector3D sum;
        for (std::uint32_t j = start[at]; j < start[at + 1]; ++j)
            if (around[j] == own || (creaseDegrees > 0 && unit[around[j]] * unit[own] >= least))
                sum += byArea[around[j]];
        normals[i] = sum.NormalizeSafe();
    }
    return normals;
}

/// What a vertex has after its position and normal.
struct Extras {
    unsigned textures = 0;
    bool moves = false, hasColors = false;

    [[nodiscard]] std::size_t stride() const {
        return 6 + (moves ? 3 : 0) + std::size_t{2} * textures + (hasColors ? 3 : 0);
    }
};

std::string codesOf(const Extras& extras) {
    std::string codes = extras.moves ? "p n m 1" : "p n";
    if (extras.textures > 0 || extras.hasColors) codes += " t";
    for (unsigned i = 0; i < extras.textures; ++i) codes += " 2";
    if (extras.hasColors) codes += " 3";
    return codes;
}

float* put(float* to, const aiVector3D& v) {
    const bool usable = isFinite(v);
    *to++ = usable ? v.x : 0.0f;
    *to++ = usable ? v.y : 0.0f;
    *to++ = usable ? v.z : 0.0f;
    return to;
}

void putVertex(float* to, const aiMesh& mesh, const MeshPoints& points, const Extras& extras,
               const aiVector3D& normal, std::size_t v) {
    to = put(put(to, points.positions[v]), normal);
    if (extras.moves) to = put(to, points.later[v] - points.positions[v]);
    for (unsigned space = 0; space < extras.textures; ++space) {
        const aiVector3D& uv = mesh.mTextureCoords[space][v];
        *to++ = std::isfinite(uv.x) ? uv.x : 0.0f;
        *to++ = std::isfinite(uv.y) ? uv.y : 0.0f;
    }
    if (!extras.hasColors) return;
    const aiColor4D& color = mesh.mColors[0][v];
    put(to, {color.r, color.g, color.b});
}

/// Keeps the first of equal vertices.
void weld(TriangleMesh& mesh) {
    const std::size_t count = mesh.vertices.size() / mesh.stride;
    std::vector<std::uint32_t> first = firstEqual(mesh.vertices.data(), count, mesh.stride);
    std::uint32_t kept = 0;
    for (std::size_t v = 0; v < count; ++v) {
        if (first[v] != v) {
            first[v] = first[first[v]]; // where that one has gone
            continue;
        }
        std::copy_n(&mesh.vertices[v * mesh.stride], mesh.stride, &mesh.vertices[kept * mesh.stride]);
        first[v] = kept++;
    }
    mesh.vertices.resize(kept * mesh.stride);
    for (std::int32_t& index : mesh.indices) index = static_cast<std::int32_t>(first[index]);
}

} // namespace

MeshPoints pointsOf(const aiMesh& mesh) {
    MeshPoints points;
    points.positions = {mesh.mVertices, mesh.mNumVertices};
    if (mesh.HasNormals()) points.normals = {mesh.mNormals, mesh.mNumVertices};
    return points;
}

TriangleMesh triangleMesh(const aiMesh& mesh, const MeshPoints& points, double creaseDegrees) {
    TriangleMesh result;
    std::vector<std::int32_t> corners = cornersOf(mesh, points.positions, result.dropped);
    const Extras extras{std::min(mesh.GetNumUVChannels(), 4u), !points.later.empty(),
                        mesh.HasVertexColors(0)};
    result.codes = codesOf(extras);
    result.stride = extras.stride();
    const auto vertex = [&](std::size_t i) { return &result.vertices[i * result.stride]; };
    if (points.normals.empty()) {
        const std::vector<aiVector3D> normals = creasedNormals(corners, points.positions, creaseDegrees);
        result.vertices.resize(corners.size() * result.stride);
        result.indices.resize(corners.size());
        for (std::size_t i = 0; i < corners.size(); ++i) {
            putVertex(vertex(i), mesh, points, extras, normals[i], static_cast<std::size_t>(corners[i]));
            result.indices[i] = static_cast<std::int32_t>(i);
        }
        weld(result);
        return result;
    }
    result.vertices.resize(mesh.mNumVertices * result.stride);
    for (std::size_t v = 0; v < mesh.mNumVertices; ++v)
        putVertex(vertex(v), mesh, points, extras, points.normals[v], v);
    result.indices = std::move(corners);
    // Some formats tell every corner of every face. A closed mesh has half as many vertices as triangles.
    if (2 * std::size_t{mesh.mNumVertices} > result.indices.size()) weld(result);
    return result;
}

void print(SceneText& text, const TriangleMesh& mesh, std::optional<std::int32_t> label) {
    const std::size_t triangles = mesh.indices.size() / 3;
    text.print("        trilist vertex {} {} triangle {}\n            scalar ",
               mesh.vertices.size() / mesh.stride, mesh.codes, triangles);
    text.printBlock(mesh.vertices);
    text.print("\n            integer ");
    if (!label) {
        text.printBlock(mesh.indices);
    } else {
        std::vector<std::int32_t> labelled;
        labelled.reserve(4 * triangles);
        for (std::size_t i = 0; i < mesh.indices.size(); ++i) {
            if (i % 3 == 0) labelled.push_back(*label);
            labelled.push_back(mesh.indices[i]);
        }
        text.printBlock(labelled);
    }
    text.print("\n        end trilist\n");
}

} // namespace orca::bridge
