// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "geometry/curved_surfaces.h"
#include "geometry/hair/hair_segments.h"
#include "scene/elements/elements.h"

#include <shader.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace orca::geometry {

/// The triangles or the hairs of one object. Vertex arrays are empty or have one entry per vertex; all share
/// one index list. Points, normals and motions are in object space, or in world space after `placeInWorld`;
/// bump basis and derivatives are always in object space.
struct Mesh {
    using Triangle = std::array<std::uint32_t, 3>;

    std::vector<miVector> points;
    /// Points at the ends of equal segments of the unit shutter, the last at its end; empty: does not deform.
    std::vector<std::vector<miVector>> laterPoints;
    std::vector<miVector> normals; ///< a null vector: the geometric normal
    int textureSpaces = 0;
    std::vector<miVector> textures;     ///< vertex * textureSpaces + space
    std::vector<miVector> bumpX, bumpY; ///< of the first texture space
    std::vector<miVector> derivU, derivV;

    std::vector<Triangle> triangles;
    std::vector<miTag> materials;     ///< per triangle, 0 for the inherited one; empty: all inherited
    std::vector<std::int32_t> labels; ///< per triangle, index into the inherited materials; empty: untagged

    std::optional<HairSegments> hair; ///< instead of triangles; always in object space

    [[nodiscard]] bool deforms() const {
        return !laterPoints.empty() || (hair && !hair->laterPoints.empty());
    }
    [[nodiscard]] bool isEmpty() const { return triangles.empty() && (!hair || hair->segmentCount() == 0); }
};

/// Cuts the object's polygons into triangles and tessellates its curved surfaces, or takes its hairs, in
/// parallel. The object must outlive a mesh of hairs. Faulty
/// polygons, triangles and surfaces are left out, with one message per object and kind of fault.
[[nodiscard]] Mesh buildMesh(const scene::ObjectElement& object, Log& log,
                             const SurfaceSettings& surfaces = {});

/// Transforms points, later points and normals to world space, for a mesh with one instance only.
void placeInWorld(Mesh& mesh, const miScalar* localToGlobal, const miScalar* globalToLocal);

} // namespace orca::geometry
