// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "base/transform.h"
#include "geometry/scene_geometry.h"
#include "image/framebuffers.h"
#include "image/textures.h"
#include "render/context/camera_placement.h"
#include "render/context/gather_settings.h"
#include "render/context/light_instances.h"
#include "render/context/tag_index.h"
#include "scene/database.h"
#include "shading/shader_runtime.h"

#include <shader.h>

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

namespace orca::render {

class GatherCaches;
class LightChooser;
class LightProfiles;
class MeshEmitters;
class SceneIds;
class ShadowMaps;

/// How often the rasterizer looks what a pixel shows, for each sample that the options ask for, and shades
/// it.
struct VisibilitySamples {
    unsigned count = 1;
    unsigned shadings = 1; ///< of each surface, 1 to `count`

    /// Visibility samples that share a shading.
    [[nodiscard]] unsigned perShading() const { return (count + shadings - 1) / shadings; }
};

/// What a frame is made from. Everything that is referred to outlives the frame.
struct FrameParts {
    scene::Database& database;
    Log& log;
    shading::ShaderRuntime& runtime;
    image::Textures& textures;
    const image::FramebufferSet& framebuffers;
    const miOptions& options; ///< shaders keep its address
    const miCamera& camera;   ///< and this one's
    miTag cameraInstance;
    const geometry::SceneGeometry& geometry;
    const LightInstances& lights;
    const LightProfiles& lightProfiles;
    GatherSettings gather;
    std::uint32_t seed;                         ///< of the sampling pattern
    miLock globalLock;                          ///< that shaders share
    const std::atomic<bool>* stop;              ///< set from outside to stop the render; null: never stopped
    const ShadowMaps* shadowMaps = nullptr;     ///< null: shadows are traced
    const MeshEmitters* meshEmitters = nullptr; ///< null: lights with the shapes of objects are off
    const LightChooser* lightChooser = nullptr; ///< null: shaders' light lists are whole
    const GatherCaches* gatherCaches = nullptr; ///< filled by the prepass; null: every sample gathers
    const SceneIds* ids = nullptr;              ///< of what is seen; null where no frame buffer shows them
    bool recordsSeen = false;                   ///< what eye samples see is recorded
    VisibilitySamples visibility;
};

/// Everything that stays the same while one picture is rendered. Complete once it is made, shared by all
/// threads, const for them.
class Frame : public FrameParts {
public:
    explicit Frame(const FrameParts& parts);
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    const CameraPlacement placement;

    /// The buffers that the renderer itself fills.
    std::vector<const image::Buffer*> builtinBuffers;
    /// User colours that the rasterizer weights by the opacity of the layers in front.
    std::vector<const image::Buffer*> opacityWeighted;
    const image::Buffer& primaryBuffer;

    const std::span<const geometry::MeshInstance> meshInstances;

    /// True when the picture is discarded, so that deep rays may end at once.
    [[nodiscard]] bool stopped() const { return stop && stop->load(std::memory_order_relaxed); }

    /// True when anything, the camera included, moves over the shutter.
    [[nodiscard]] bool moves() const { return geometry.moves() || placement.moves(); }

    /// Null for a tag that is no instance of a mesh.
    [[nodiscard]] const geometry::MeshInstance* meshInstanceOf(miTag instance) const {
        const std::uint32_t index = meshInstanceByTag_.of(instance);
        return index == TagIndex::none ? nullptr : &meshInstances[index];
    }
    /// The label of what a state hit: the scene's, else the id of its name.
    [[nodiscard]] miUint labelOf(const miState& state) const;
    /// Null for an unknown tag.
    [[nodiscard]] const miMaterial* materialOf(miTag material) const {
        return material < materialByTag_.size() ? materialByTag_[material] : nullptr;
    }

    /// Point in camera space to raster position, pixels; z is kept.
    /// From camera space to normalized device coordinates: x from 0 at the picture's left edge to 1 at its
    /// right, y from 0 at its upper edge to 1, z from 0 at the near clipping plane to 1 at the far one. Lens
    /// shaders are left out.
    [[nodiscard]] Transform cameraToNdc() const;
    [[nodiscard]] miVector rasterFromCamera(const miVector& point) const;
    [[nodiscard]] miVector cameraFromRaster(const miVector& raster) const;

private:
    TagIndex meshInstanceByTag_;
    std::vector<const miMaterial*> materialByTag_;
};

} // namespace orca::render
