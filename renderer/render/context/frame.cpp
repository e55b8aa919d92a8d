// SPDX-License-Identifier: Apache-2.0
#include "render/context/frame.h"

#include "image/image_types.h"
#include "scene/elements/elements.h"

namespace orca::render {

namespace {

/// Index by tag into something; `geometry::nothing` where a tag is none of them.
void enter(std::vector<std::uint32_t>& byTag, miTag tag, std::uint32_t index) {
    if (byTag.size() <= tag) byTag.resize(tag + 1, geometry::nothing);
    byTag[tag] = index;
}

} // namespace

Frame::Frame(scene::Database& sceneDatabase, Log& sceneLog, shading::ShaderRuntime& shaderRuntime,
             image::Textures& textureCache, const geometry::SceneGeometry& sceneGeometry,
             const image::FramebufferSet& frameBuffers, const miOptions& renderOptions,
             const miCamera& renderCamera, miTag cameraInstanceTag)
    : database(sceneDatabase),
      log(sceneLog),
      runtime(shaderRuntime),
      textures(textureCache),
      lightProfiles(sceneDatabase, sceneLog),
      geometry(sceneGeometry),
      framebuffers(frameBuffers),
      options(renderOptions),
      camera(renderCamera),
      cameraInstance(cameraInstanceTag),
      placement(*database.find<scene::InstanceElement>(cameraInstanceTag)),
      globalLock(nullptr),
      meshInstances(sceneGeometry.meshInstances()) {
    for (const image::Buffer& buffer : framebuffers.buffers()) {
        bufferSlots.push_back({buffer.sampleOffset, buffer.components * static_cast<int>(sizeof(float))});
        if (buffer.source != image::BuiltinSource::None)
            mainBuffers.push_back({buffer.source, buffer.sampleOffset});
        if (buffer.user && buffer.useOpacity && image::isColor(buffer.type))
            opacityWeighted.push_back(buffer.sampleOffset);
    }
    primaryOffset =
        framebuffers.buffers()[static_cast<std::size_t>(framebuffers.primaryIndex())].sampleOffset;

    for (std::size_t i = 0; i < meshInstances.size(); ++i)
        enter(instanceByTag_, meshInstances[i].instance, static_cast<std::uint32_t>(i));

    for (const miTag tag : geometry.lights()) {
        const auto* placed = database.find<scene::InstanceElement>(tag);
        const auto* light = placed ? database.find<scene::LightElement>(placed->instance.item) : nullptr;
        if (!light) continue;
        LightInstance entry{tag, &light->light, &placed->instance, {}, {}};
        mi_point_transform(&entry.origin, &light->light.origin, placed->instance.tf.local_to_global);
        mi_vector_transform(&entry.direction, &light->light.direction, placed->instance.tf.local_to_global);
        mi_vector_normalize(&entry.direction);
        enter(lightByTag_, tag, static_cast<std::uint32_t>(lights_.size()));
        lights_.push_back(entry);
    }
    for (const LightInstance& light : lights_)
        if (light.light->visible && light.hasArea() && !light.record->off) visibleLights_.push_back(&light);

    for (miTag tag = 1; tag < database.endTag(); ++tag)
        if (const auto* element = database.find<scene::MaterialElement>(tag);
            element && !element->isTemplate) {
            materialByTag_.resize(tag + 1);
            materialByTag_[tag] = &element->material;
        }
}

miVector Frame::rasterFromCamera(const miVector& point) const {
    const float zoom =
        camera.orthographic ? 1.0f / camera.aperture : camera.focal / camera.aperture / -point.z;
    return {static_cast<float>(camera.x_resolution) * (0.5f + zoom * point.x) + camera.x_offset,
            static_cast<float>(camera.y_resolution) * (0.5f + zoom * camera.aspect * point.y) +
                camera.y_offset,
            point.z};
}

miVector Frame::cameraFromRaster(const miVector& raster) const {
    const float zoom =
        camera.orthographic ? 1.0f / camera.aperture : camera.focal / camera.aperture / -raster.z;
    return {((raster.x - camera.x_offset) / static_cast<float>(camera.x_resolution) - 0.5f) / zoom,
            ((raster.y - camera.y_offset) / static_cast<float>(camera.y_resolution) - 0.5f) /
                (zoom * camera.aspect),
            raster.z};
}

} // namespace orca::render
