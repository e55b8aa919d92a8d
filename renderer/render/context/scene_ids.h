// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/scene_geometry.h"
#include "image/cryptomatte.h"
#include "render/context/light_instances.h"
#include "render/context/seen_surfaces.h"
#include "scene/database.h"

#include <shader.h>

#include <cstdint>
#include <string>
#include <vector>

namespace orca::render {

/// Ids of what a picture can show, by the names that the scene gives:
/// - object: the name of the instance at the end of the path through the scene graph, which all places of
///   that instance share;
/// - asset: the name of the outermost named instance on that path, below the picture's group;
/// - material: the name of the material.
/// Things without a name are called after what they place, or after their shader.
class SceneIds {
public:
    SceneIds(const scene::Database& database, const geometry::SceneGeometry& geometry,
             const LightInstances& lights);

    /// 0 for what has no id of this kind, as the background and the material of a light.
    [[nodiscard]] float of(image::BuiltinSource kind, const SeenSurface& surface) const;
    /// Of a mesh instance without a label: the bits of the object's id, unless the scene says that its label
    /// is 0.
    [[nodiscard]] std::uint32_t labelOf(std::uint32_t meshInstance) const {
        return meshInstance < labels_.size() ? labels_[meshInstance] : 0;
    }
    /// Every name that the picture might show.
    [[nodiscard]] const image::CryptomatteManifest& manifest(image::BuiltinSource kind) const;

private:
    struct Ids {
        float object, asset;
    };
    Ids add(const scene::Database& database, miTag instance);

    std::vector<Ids> ofMeshInstance_, ofLight_;
    std::vector<std::uint32_t> labels_; // by mesh instance
    TagIndex lightByTag_;
    std::vector<float> ofMaterial_; // by tag
    image::CryptomatteManifest objects_, assets_, materials_;
    float ofNoMaterial_;
};

} // namespace orca::render
