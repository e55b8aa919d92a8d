// SPDX-License-Identifier: Apache-2.0
#include "geometry/mesh.h"
#include "api/guarded.h"
#include "base/active_log.h"
#include "base/vectors.h"
#include "scene/active_database.h"
#include "scene/making/scene_maker.h"

#include <shader.h>

#include <memory>
#include <string>

using orca::operator-;
using orca::scene::ObjectElement;
using orca::scene::SceneMaker;

struct miMesh {
    orca::geometry::Mesh mesh;
};

namespace {

/// An error of a geometry shader's call; other shaders may not call these functions.
void report(const char* function, const std::string& fault) {
    if (SceneMaker* const maker = orca::scene::activeSceneMaker()) maker->error("{}: {}", function, fault);
    else
        orca::activeLog().once(std::string("outside: ") + function,
                               {orca::LogLevel::Error,
                                "API",
                                0,
                                std::string(function) + ": only geometry shaders read meshes",
                                {}});
}

const ObjectElement* objectOf(miTag tag) {
    const orca::scene::Database& database = orca::scene::activeDatabase();
    if (const auto* const instance = database.find<orca::scene::InstanceElement>(tag))
        return database.find<ObjectElement>(instance->instance.item);
    return database.find<ObjectElement>(tag);
}

/// The vertices of a triangle; null, with an error, when there is no such triangle.
const orca::geometry::Mesh::Triangle* verticesOf(const char* function, const miMesh* mesh, int triangle) {
    const int count = mi_mesh_triangles(mesh);
    if (triangle >= 0 && triangle < count) return &mesh->mesh.triangles[static_cast<std::size_t>(triangle)];
    report(function, "there is no triangle " + std::to_string(triangle) + " of " + std::to_string(count));
    return nullptr;
}

} // namespace

extern "C" {

DLLEXPORT miMesh* mi_mesh_open(miTag object) {
    return orca::api::guarded(__func__, static_cast<miMesh*>(nullptr), [&]() -> miMesh* {
        if (!orca::scene::activeSceneMaker()) {
            report("mi_mesh_open", "");
            return nullptr;
        }
        const ObjectElement* const element = objectOf(object);
        if (!element || element->hair) {
            report("mi_mesh_open", element ? "\"" + element->name + "\" is an object of hairs"
                                           : "the element is neither an object nor an instance of one");
            return nullptr;
        }
        return std::make_unique<miMesh>(miMesh{orca::geometry::buildMesh(*element, orca::activeLog())})
            .release();
    });
}

DLLEXPORT void mi_mesh_close(miMesh* mesh) {
    delete mesh;
}

DLLEXPORT int mi_mesh_triangles(const miMesh* mesh) {
    return mesh ? static_cast<int>(mesh->mesh.triangles.size()) : 0;
}

DLLEXPORT int mi_mesh_texture_spaces(const miMesh* mesh) {
    return mesh ? mesh->mesh.textureSpaces : 0;
}

DLLEXPORT miBoolean mi_mesh_triangle(const miMesh* mesh, int triangle, miVector points[3],
                                     miVector normals[3]) {
    const auto* const vertices = verticesOf(__func__, mesh, triangle);
    if (!vertices) return miFALSE;
    const orca::geometry::Mesh& m = mesh->mesh;
    for (int i = 0; i < 3; ++i) points[i] = m.points[(*vertices)[i]];
    if (!normals) return miTRUE;
    const miVector face = orca::cross(points[1] - points[0], points[2] - points[0]);
    const miVector flat = orca::isNull(face) ? face : orca::normalized(face);
    for (int i = 0; i < 3; ++i) {
        const miVector normal = m.normals.empty() ? miVector{} : m.normals[(*vertices)[i]];
        normals[i] = orca::isNull(normal) ? flat : orca::normalized(normal);
    }
    return miTRUE;
}

DLLEXPORT miBoolean mi_mesh_motion(const miMesh* mesh, int triangle, miVector motions[3]) {
    const auto* const vertices = verticesOf(__func__, mesh, triangle);
    if (!vertices) return miFALSE;
    const orca::geometry::Mesh& m = mesh->mesh;
    for (int i = 0; i < 3; ++i) {
        const std::uint32_t vertex = (*vertices)[i];
        motions[i] = m.laterPoints.empty() ? miVector{} : m.laterPoints.back()[vertex] - m.points[vertex];
    }
    return miTRUE;
}

DLLEXPORT miBoolean mi_mesh_texture(const miMesh* mesh, int triangle, int space, miVector coordinates[3]) {
    const auto* const vertices = verticesOf(__func__, mesh, triangle);
    if (!vertices) return miFALSE;
    const orca::geometry::Mesh& m = mesh->mesh;
    if (space < 0 || space >= m.textureSpaces) {
        report(__func__, "there is no texture space " + std::to_string(space) + " of " +
                             std::to_string(m.textureSpaces));
        return miFALSE;
    }
    const auto spaces = static_cast<std::size_t>(m.textureSpaces);
    for (int i = 0; i < 3; ++i)
        coordinates[i] = m.textures[(*vertices)[i] * spaces + static_cast<std::size_t>(space)];
    return miTRUE;
}

} // extern "C"
