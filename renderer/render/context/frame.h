// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "geometry/scene_geometry.h"
#include "image/framebuffers.h"
#include "image/textures.h"
#include "render/context/camera_placement.h"
#include "render/context/gather_settings.h"
#include "render/context/light_instance.h"
#include "render/light/light_profiles.h"
#include "scene/database.h"
#include "shading/shader_runtime.h"

#include <shader.h>

#include <atomic>
#include <span>
#include <vector>

namespace orca::render {

class GatherCaches;
class ShadowMaps;

/// Everything that stays the same while one picture is rendered. Shared by all threads, const for them.
class Frame {
public:
    Frame(scene::Database& sceneDatabase, Log& sceneLog, shading::ShaderRuntime& shaderRuntime,
          image::Textures& textureCache, const geometry::SceneGeometry& sceneGeometry,
          const image::FramebufferSet& frameBuffers, const miOptions& renderOptions,
          const miCamera& renderCamera, miTag cameraInstance);

    scene::Database& database;
    Log& log;
    shading::ShaderRuntime& runtime;
    image::Textures& textures;
    const LightProfiles lightProfiles;
    const geometry::SceneGeometry& geometry;
    const image::FramebufferSet& framebuffers;
    const miOptions options;
    const miCamera camera;
    const miTag cameraInstance;
    const CameraPlacement placement;
    miLock globalLock;
    std::uint32_t seed = 0;
    const ShadowMaps* shadowMaps = nullptr; ///< null: shadows are traced
    GatherSettings gather;
    const GatherCaches* gatherCaches = nullptr; ///< light gathered ahead; null: every sample gathers
    int gatherSpacing = 0;                      ///< pixels between the points that it was gathered for

    /// Where a frame buffer's words lie in a sample, by index: what the path of a sample needs of
    /// image::Buffer.
    struct BufferSlot {
        int offset, bytes;
    };
    std::vector<BufferSlot> bufferSlots;
    /// The buffers that the renderer itself fills.
    struct MainBuffer {
        image::BuiltinSource source;
        int offset;
    };
    std::vector<MainBuffer> mainBuffers;
    int primaryOffset;
    /// Words of user colours that the rasterizer weights by the opacity of what is before them.
    std::vector<int> opacityWeighted;

    const std::atomic<bool>* stop = nullptr; ///< set from outside when nobody wants the picture any more
    /// True when what is still computed is thrown away, so that deep rays may end at once.
    [[nodiscard]] bool stopped() const { return stop && stop->load(std::memory_order_relaxed); }

    /// True when anything, the camera included, moves over the shutter.
    [[nodiscard]] bool moves() const { return geometry.moves() || placement.moves(); }

    /// All placed meshes.
    const std::span<const geometry::MeshInstance> meshInstances;
    /// The placed mesh of a leaf instance; null for other tags.
    [[nodiscard]] const geometry::MeshInstance* meshInstanceOf(miTag instance) const {
        const std::uint32_t index = lookUp(instanceByTag_, instance);
        return index == geometry::nothing ? nullptr : &meshInstances[index];
    }
    /// The placed light of a light instance; null for other tags.
    [[nodiscard]] const LightInstance* lightOf(miTag instance) const {
        const std::uint32_t index = lookUp(lightByTag_, instance);
        return index == geometry::nothing ? nullptr : &lights_[index];
    }
    [[nodiscard]] std::span<const LightInstance> lights() const { return lights_; }
    /// Area lights whose shapes can be seen.
    [[nodiscard]] std::span<const LightInstance* const> visibleLights() const { return visibleLights_; }
    /// Material record; null for an unknown tag.
    [[nodiscard]] const miMaterial* materialOf(miTag material) const {
        return material < materialByTag_.size() ? materialByTag_[material] : nullptr;
    }

    /// Point in camera space to raster position, pixels; z is kept.
    [[nodiscard]] miVector rasterFromCamera(const miVector& point) const;
    [[nodiscard]] miVector cameraFromRaster(const miVector& raster) const;

private:
    /// `geometry::nothing` where a tag is none of them.
    static std::uint32_t lookUp(const std::vector<std::uint32_t>& byTag, miTag tag) {
        return tag < byTag.size() ? byTag[tag] : geometry::nothing;
    }

    std::vector<std::uint32_t> instanceByTag_;
    std::vector<LightInstance> lights_;
    std::vector<const LightInstance*> visibleLights_;
    std::vector<std::uint32_t> lightByTag_;
    std::vector<const miMaterial*> materialByTag_;
};

} // namespace orca::render
