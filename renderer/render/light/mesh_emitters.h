// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "geometry/scene_geometry.h"
#include "render/context/light_instances.h"
#include "render/sampling/weighted_choice.h"

#include <shader.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace orca::render {

/// The triangles of a light's object, at the start of the shutter.
class MeshEmitter {
public:
    explicit MeshEmitter(const std::vector<const geometry::MeshInstance*>& meshes);

    /// Square scene units; 0: nothing emits.
    [[nodiscard]] float area() const { return area_; }
    /// The surface at a place of the unit square; uniform by area when the place is uniform.
    /// @param textureCoordinates as in SceneGeometry::surfaceAt
    void surfaceAt(float u, float v, geometry::SurfacePoint& surface, miVector* textureCoordinates) const;

private:
    struct Triangle {
        const geometry::MeshInstance* mesh;
        std::uint32_t index;
    };
    std::vector<Triangle> triangles_;
    WeightedChoice byArea_;
    float area_ = 0.0f;
};

/// The emitters of all lights with the shapes of objects. One without surfaces is an error that names the
/// light's file and line; such lights are off.
class MeshEmitters {
public:
    MeshEmitters(const geometry::SceneGeometry& geometry, const LightInstances& lights, Log& log);

    /// Null for a light without one.
    [[nodiscard]] const MeshEmitter* of(const LightInstance& light) const {
        return byLight_[static_cast<std::size_t>(&light - lights_.all().data())];
    }

private:
    const LightInstances& lights_;
    std::vector<std::unique_ptr<MeshEmitter>> emitters_;
    std::vector<const MeshEmitter*> byLight_; ///< in the order of the lights
};

} // namespace orca::render
