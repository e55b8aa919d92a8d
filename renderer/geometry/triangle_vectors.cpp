// SPDX-License-Identifier: Apache-2.0
#include "geometry/triangle_vectors.h"

#include "base/vectors.h"
#include "geometry/mesh.h"

#include <algorithm>
#include <cstddef>

namespace orca::geometry {

bool triangleVectors(const MeshInstance& meshInstance, std::uint32_t triangle, CornerVector which, int space,
                     miVector (&corners)[3]) {
    const Mesh& mesh = *meshInstance.mesh;
    if (mesh.hair) return false;
    const miTransform& place = meshInstance.instanceRecord->tf;
    const bool inWorld = meshInstance.placedInWorld;
    const auto give = [&](const auto& vectorOf) {
        std::transform(mesh.triangles[triangle].begin(), mesh.triangles[triangle].end(), corners, vectorOf);
        return true;
    };
    const auto giveStored = [&](const std::vector<miVector>& vectors) {
        return !vectors.empty() && give([&](std::uint32_t vertex) { return vectors[vertex]; });
    };
    switch (which) {
    case CornerVector::Point:
        return give([&](std::uint32_t vertex) {
            const miVector& point = mesh.points[vertex];
            return inWorld ? transformPoint(point, place.global_to_local) : point;
        });
    case CornerVector::Normal:
        return !mesh.normals.empty() && give([&](std::uint32_t vertex) {
            const miVector& normal = mesh.normals[vertex];
            return normalized(inWorld ? transformNormal(normal, place.local_to_global) : normal);
        });
    case CornerVector::Motion:
        return mesh.deforms() && give([&](std::uint32_t vertex) {
                   const miVector motion = mesh.laterPoints.back()[vertex] - mesh.points[vertex];
                   return inWorld ? transformVector(motion, place.global_to_local) : motion;
               });
    case CornerVector::Texture: {
        const auto spaces = static_cast<std::size_t>(mesh.textureSpaces);
        const auto index = static_cast<std::size_t>(space);
        return index < spaces &&
               give([&](std::uint32_t vertex) { return mesh.textures[vertex * spaces + index]; });
    }
    case CornerVector::DerivativeU: return giveStored(mesh.derivU);
    case CornerVector::DerivativeV: return giveStored(mesh.derivV);
    case CornerVector::BumpX: return giveStored(mesh.bumpX);
    case CornerVector::BumpY: return giveStored(mesh.bumpY);
    }
    return false;
}

} // namespace orca::geometry
