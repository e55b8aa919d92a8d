// SPDX-License-Identifier: Apache-2.0
#include "geometry/surface.h"

#include "base/vectors.h"
#include "geometry/mesh.h"
#include "geometry/placement.h"
#include "geometry/shutter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace orca::geometry {

namespace {

/// Corners of the hit triangle in the mesh's space, at the traced time.
struct Corners {
    miVector a, b, c;
};

Corners cornersAt(const Mesh& mesh, const Mesh::Triangle& triangle, float time) {
    const std::vector<miVector>& points = mesh.points;
    if (!mesh.deforms() || time == 0.0f)
        return {points[triangle[0]], points[triangle[1]], points[triangle[2]]};
    const ShutterSegment segment = ShutterSegment::at(time, mesh.laterPoints.size());
    const std::vector<miVector>& before = segment.index == 0 ? points : mesh.laterPoints[segment.index - 1];
    const std::vector<miVector>& after = mesh.laterPoints[segment.index];
    const auto at = [&](std::uint32_t vertex) { // as the ray-tracing kernel blends
        return (1.0f - segment.part) * before[vertex] + segment.part * after[vertex];
    };
    return {at(triangle[0]), at(triangle[1]), at(triangle[2])};
}

miVector interpolateVertices(const std::vector<miVector>& values, const Mesh::Triangle& triangle,
                             const Hit& hit) {
    return interpolate(values[triangle[0]], values[triangle[1]], values[triangle[2]], hit.u, hit.v);
}

/// Null where a corner has no normal of its own.
miVector vertexNormal(const Mesh& mesh, const Mesh::Triangle& triangle, const Hit& hit) {
    if (mesh.normals.empty()) return {0, 0, 0};
    for (const std::uint32_t vertex : triangle)
        if (isNull(mesh.normals[vertex])) return {0, 0, 0};
    return interpolateVertices(mesh.normals, triangle, hit);
}

/// World positions of a surface point at both ends of the unit shutter.
struct ShutterEnds {
    miVector opening, closing;
};

ShutterEnds shutterEndsOf(const MeshInstance& meshInstance, const Mesh::Triangle& triangle, const Hit& hit) {
    const Mesh& mesh = *meshInstance.mesh;
    const miTransform& place = meshInstance.instanceRecord->tf;
    const miVector start = interpolateVertices(mesh.points, triangle, hit);
    const miVector end = mesh.deforms() ? interpolateVertices(mesh.laterPoints.back(), triangle, hit) : start;
    if (meshInstance.placedInWorld) {
        if (!meshInstance.transformMoves) return {start, end};
        return {start,
                transformPoint(transformPoint(end, place.global_to_local), meshInstance.localToGlobalAtEnd)};
    }
    return {transformPoint(start, place.local_to_global),
            transformPoint(end, meshInstance.localToGlobalAtEnd)};
}

/// dP/du and dP/dv of a triangle from its edges and texture coordinates; left as they are where the
/// coordinates span no area.
void derivativesFromTexture(const miVector& edge1, const miVector& edge2, const miVector& a,
                            const miVector& b, const miVector& c, miVector& dPdu, miVector& dPdv) {
    const float u1 = b.x - a.x, v1 = b.y - a.y, u2 = c.x - a.x, v2 = c.y - a.y;
    const float determinant = u1 * v2 - u2 * v1;
    if (std::abs(determinant) < 1e-20f) return;
    const float scale = 1.0f / determinant;
    dPdu = scale * (v2 * edge1 - v1 * edge2);
    dPdv = scale * (u1 * edge2 - u2 * edge1);
}

} // namespace

miTag materialOf(const MeshInstance& meshInstance, const Mesh& mesh, std::uint32_t triangle) {
    if (!mesh.materials.empty() && !meshInstance.materialsOverride && mesh.materials[triangle])
        return mesh.materials[triangle];
    if (mesh.labels.empty() || mesh.labels[triangle] < 0) return meshInstance.materials[0];
    // A label beyond the list takes its last entry.
    return meshInstance.materials[std::min(static_cast<std::uint32_t>(mesh.labels[triangle]),
                                           meshInstance.materialCount - 1)];
}

void interpolateSurface(const MeshInstance& meshInstance, const Hit& hit, float time, SurfacePoint& point,
                        miVector* textureCoordinates) {
    const Mesh& mesh = *meshInstance.mesh;
    const Mesh::Triangle& triangle = mesh.triangles[hit.triangle];
    const Placement placement(meshInstance, time);
    const auto [a, b, c] = cornersAt(mesh, triangle, time);
    const miVector edge1 = b - a, edge2 = c - a;

    point.point = placement.point(interpolate(a, b, c, hit.u, hit.v));
    const miVector turn = cross(edge1, edge2);
    // Mirroring has reversed the winding of a mesh that is in world space.
    point.geometricNormal = normalized(
        meshInstance.placedInWorld && meshInstance.mirrored ? -1.0f * turn : placement.normal(turn));
    const miVector smooth = vertexNormal(mesh, triangle, hit);
    point.normal = isNull(smooth) ? point.geometricNormal : normalized(placement.normal(smooth));

    point.bary[0] = 1.0f - hit.u - hit.v;
    point.bary[1] = hit.u;
    point.bary[2] = hit.v;
    point.bary[3] = 0.0f;
    point.material = materialOf(meshInstance, mesh, hit.triangle);
    point.label = meshInstance.label;
    point.primitive = const_cast<Mesh::Triangle*>(&triangle);
    point.moves = meshInstance.transformMoves || mesh.deforms();
    const auto [opening, closing] =
        point.moves ? shutterEndsOf(meshInstance, triangle, hit) : ShutterEnds{point.point, point.point};
    point.opening = opening;
    point.motion = point.moves ? closing - opening : miVector{0, 0, 0};

    const auto spaces = static_cast<std::size_t>(mesh.textureSpaces);
    point.textureSpaces = mesh.textureSpaces;
    for (std::size_t space = 0; space < spaces; ++space)
        textureCoordinates[space] = interpolate(mesh.textures[triangle[0] * spaces + space],
                                                mesh.textures[triangle[1] * spaces + space],
                                                mesh.textures[triangle[2] * spaces + space], hit.u, hit.v);

    point.dPdu = point.dPdv = point.bumpX = point.bumpY = {0, 0, 0};
    if (!mesh.derivU.empty()) {
        point.dPdu = placement.objectVector(interpolateVertices(mesh.derivU, triangle, hit));
        point.dPdv = placement.objectVector(interpolateVertices(mesh.derivV, triangle, hit));
    } else if (spaces > 0) {
        derivativesFromTexture(placement.vector(edge1), placement.vector(edge2),
                               mesh.textures[triangle[0] * spaces], mesh.textures[triangle[1] * spaces],
                               mesh.textures[triangle[2] * spaces], point.dPdu, point.dPdv);
    }
    if (!mesh.bumpX.empty()) {
        point.bumpX = interpolateVertices(mesh.bumpX, triangle, hit);
        point.bumpY = interpolateVertices(mesh.bumpY, triangle, hit);
    }
}

} // namespace orca::geometry
