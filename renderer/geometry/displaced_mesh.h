// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/mesh.h"
#include "geometry/mesh_instance.h"

#include <shader.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace orca::geometry {

/// A mesh while it is refined and displaced; its points stay undisplaced until `finish`.
class DisplacedMesh {
public:
    /// Gives every vertex a normal (that of its triangle where the mesh has none) and finds out which
    /// vertices coincide. The mesh is in object space.
    DisplacedMesh(Mesh& baseMesh, const MeshInstance& baseInstance);

    [[nodiscard]] std::size_t vertexCount() const { return mesh.points.size(); }

    /// The two ends of a triangle's edge 0, 1 or 2, ordered by position.
    [[nodiscard]] std::pair<std::uint32_t, std::uint32_t> endsInOrder(const Mesh::Triangle& triangle,
                                                                      int edge) const;

    /// Halves edges of triangles. `marks` has bit `edge` set where that edge of the triangle of the same
    /// number is halved; triangles on both sides of an edge must agree. Returns the triangles that came of
    /// those with any mark, old numbers reused.
    std::vector<std::uint32_t> split(const std::vector<std::uint32_t>& triangles,
                                     const std::vector<std::uint8_t>& marks);

    /// Sets the offsets of coincident vertices, from `first` on, to their mean.
    void joinCoincident(std::size_t first);

    /// Moves the vertices by their offsets and makes their normals anew.
    void finish();

    Mesh& mesh;
    const MeshInstance& meshInstance;
    std::vector<miTag> materials;  ///< per vertex, of its first triangle; 0: of none
    std::vector<miVector> offsets; ///< per vertex, object space; filled by the owner

private:
    struct Edge;
    void giveNormals();
    void findCoincident();
    void appendMidpoint(const Edge& edge);
    void appendTriangle(std::uint32_t parent, const Mesh::Triangle& triangle);

    std::vector<std::uint32_t> positions_; ///< per vertex, the first vertex at its position
    std::vector<std::uint32_t> creases_;   ///< and of those the first with its normal
};

} // namespace orca::geometry
