// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/scene_geometry.h"
#include "image/framebuffers.h"
#include "image/textures.h"
#include "render/placed_light.h"
#include "scene/database.h"
#include "scene/messages.h"
#include "shading/shader_runtime.h"

#include <shader.h>

#include <vector>

namespace orca::render {

/// Everything that stays the same while one picture is rendered. Shared by all threads, const for them.
class Frame {
public:
    Frame(scene::Database& sceneDatabase, scene::Messages& sceneMessages, shading::ShaderRuntime& shaderRuntime,
          image::Textures& textureCache, const geometry::SceneGeometry& sceneGeometry,
          const image::FramebufferSet& frameBuffers, const miOptions& renderOptions, const miCamera& renderCamera,
          miTag cameraInstance);

    scene::Database& database;
    scene::Messages& messages;
    shading::ShaderRuntime& runtime;
    image::Textures& textures;
    const geometry::SceneGeometry& geometry;
    const image::FramebufferSet& framebuffers;
    const miOptions options;
    const miCamera camera;
    const miTag cameraInstance;
    miMatrix cameraToWorld, worldToCamera;
    miLock globalLock;
    std::uint32_t seed = 0;

    /// The placed mesh of a leaf instance; null for other tags.
    [[nodiscard]] const geometry::Leaf* leafOf(miTag instance) const;
    [[nodiscard]] std::uint32_t leafIndexOf(miTag instance) const;
    /// The placed light of a light instance; null for other tags.
    [[nodiscard]] const PlacedLight* lightOf(miTag instance) const;
    /// Material record; null for an unknown tag.
    [[nodiscard]] const miMaterial* materialOf(miTag material) const {
        return material < materialByTag_.size() ? materialByTag_[material] : nullptr;
    }

    /// Point in camera space to raster position, pixels; z is kept.
    [[nodiscard]] miVector rasterFromCamera(const miVector& point) const;
    [[nodiscard]] miVector cameraFromRaster(const miVector& raster) const;

private:
    std::vector<std::uint32_t> leafByTag_;
    std::vector<PlacedLight> lights_;
    std::vector<std::uint32_t> lightByTag_;
    std::vector<const miMaterial*> materialByTag_;
};

} // namespace orca::render
