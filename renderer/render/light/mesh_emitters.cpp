// SPDX-License-Identifier: Apache-2.0
#include "render/light/mesh_emitters.h"

#include "base/vectors.h"
#include "geometry/mesh.h"
#include "geometry/surface.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace orca::render {

namespace {

constexpr float shutterStart = 0.0f;

/// World space.
float areaOf(const geometry::MeshInstance& mesh, const geometry::Mesh::Triangle& triangle) {
    const auto corner = [&](int i) {
        const miVector& point = mesh.mesh->points[triangle[static_cast<std::size_t>(i)]];
        return mesh.placedInWorld ? point : transformPoint(point, mesh.instanceRecord->tf.local_to_global);
    };
    const miVector a = corner(0);
    const miVector normal = cross(corner(1) - a, corner(2) - a);
    return 0.5f * std::sqrt(dot(normal, normal));
}

} // namespace

MeshEmitter::MeshEmitter(const std::vector<const geometry::MeshInstance*>& meshes) {
    std::vector<float> areas;
    double sum = 0.0;
    for (const geometry::MeshInstance* const mesh : meshes)
        for (std::uint32_t i = 0; i < mesh->mesh->triangles.size(); ++i) {
            const float area = areaOf(*mesh, mesh->mesh->triangles[i]);
            if (!(area > 0.0f)) continue;
            triangles_.push_back({mesh, i});
            areas.push_back(area);
            sum += static_cast<double>(area);
        }
    area_ = static_cast<float>(sum);
    if (!areas.empty()) byArea_ = WeightedChoice(areas);
}

void MeshEmitter::surfaceAt(float u, float v, geometry::SurfacePoint& surface,
                            miVector* textureCoordinates) const {
    const WeightedChoice::Choice choice = byArea_.choose(u);
    const Triangle& triangle = triangles_[choice.index];
    // Uniform over a triangle: G. Turk, "Generating Random Points in Triangles", 1990.
    const float fromFirst = std::sqrt(choice.rest);
    geometry::Hit hit{};
    hit.u = fromFirst * (1.0f - v);
    hit.v = fromFirst * v;
    hit.triangle = triangle.index;
    interpolateSurface(*triangle.mesh, hit, shutterStart, surface, textureCoordinates);
}

MeshEmitters::MeshEmitters(const geometry::SceneGeometry& geometry, const LightInstances& lights, Log& log)
    : lights_(lights), byLight_(lights.all().size()) {
    std::unordered_map<miTag, const MeshEmitter*> known;
    for (const LightInstance& light : lights.all()) {
        const miTag object = light.element->areaObject;
        if (!light.hasMesh() || object == miNULLTAG) continue; // the reader has said what is missing
        const auto [found, isNew] = known.try_emplace(object, nullptr);
        if (isNew) {
            auto emitter = std::make_unique<MeshEmitter>(geometry.emittingMeshes(object));
            if (emitter->area() > 0.0f) {
                found->second = emitter.get();
                emitters_.push_back(std::move(emitter));
            } else {
                log.errorAt(light.element->location, "RNDR",
                            "light \"{}\": what it names as its emitter has no surfaces below the rendered "
                            "group; the light is off",
                            light.element->name);
            }
        }
        byLight_[static_cast<std::size_t>(&light - lights.all().data())] = found->second;
    }
}

} // namespace orca::render
