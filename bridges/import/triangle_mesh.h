// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene_text.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orca::bridge {

/// Triangles as a `trilist` holds them: the data of a vertex in a row.
struct TriangleMesh {
    std::string codes; ///< what a vertex has, such as "p n t 2"
    std::size_t stride = 0;
    std::vector<float> vertices;
    std::vector<std::int32_t> indices;
    std::size_t dropped =
        0; ///< triangles that were no triangles: wrong vertices, numbers that are not finite
};

/// Where the vertices of a mesh are: its own, or those of a pose. Normals may be empty.
struct MeshPoints {
    std::span<const aiVector3D> positions, normals;
    std::span<const aiVector3D> later; ///< positions one frame on, for motion vectors; empty: they stay
};
[[nodiscard]] MeshPoints pointsOf(const aiMesh& mesh);

/// The triangles of a mesh with its texture spaces and, in a space of three dimensions after them, the
/// colours of its vertices. Equal vertices are one. A mesh without normals gets those of its faces, averaged
/// over neighbours by their area where they meet at less than the crease angle.
/// @param creaseDegrees 0: every face is flat
[[nodiscard]] TriangleMesh triangleMesh(const aiMesh& mesh, const MeshPoints& points, double creaseDegrees);

/// As a statement of an object.
/// @param label of all triangles, for tagged objects
void print(SceneText& text, const TriangleMesh& mesh, std::optional<std::int32_t> label);

} // namespace orca::bridge
