// SPDX-License-Identifier: Apache-2.0
#include "render/context/frame.h"

#include "image/image_types.h"
#include "render/context/scene_ids.h"
#include "scene/elements/elements.h"

namespace orca::render {

Frame::Frame(const FrameParts& parts)
    : FrameParts(parts),
      placement(*database.find<scene::InstanceElement>(cameraInstance)),
      primaryBuffer(framebuffers.buffers()[static_cast<std::size_t>(framebuffers.primaryIndex())]),
      meshInstances(geometry.meshInstances()) {
    for (const image::Buffer& buffer : framebuffers.buffers()) {
        if (buffer.source != image::BuiltinSource::None) builtinBuffers.push_back(&buffer);
        if (buffer.user && buffer.useOpacity && image::isColor(buffer.type))
            opacityWeighted.push_back(&buffer);
    }
    for (std::size_t i = 0; i < meshInstances.size(); ++i)
        meshInstanceByTag_.set(meshInstances[i].instance, i);
    for (miTag tag = 1; tag < database.endTag(); ++tag)
        if (const auto* element = database.find<scene::MaterialElement>(tag);
            element && !element->isTemplate) {
            materialByTag_.resize(tag + 1);
            materialByTag_[tag] = &element->material;
        }
}

miUint Frame::labelOf(const miState& state) const {
    return state.label != 0 || !ids ? state.label : ids->labelOf(state.hit_instance);
}

Transform Frame::cameraToNdc() const {
    const double aspect = camera.aspect, aperture = camera.aperture;
    const double near = camera.clip.min, far = camera.clip.max;
    const double centreX = 0.5 + camera.x_offset / static_cast<double>(camera.x_resolution);
    const double centreY = 0.5 - camera.y_offset / static_cast<double>(camera.y_resolution);
    if (camera.orthographic) {
        const double depth = 1.0 / (far - near);
        return {{1.0 / aperture, 0, 0, 0,     //
                 0, -aspect / aperture, 0, 0, //
                 0, 0, -depth, 0,             //
                 centreX, centreY, -near * depth, 1.0}};
    }
    const double zoom = camera.focal / aperture, depth = 1.0 / (1.0 - near / far); // the view is along -z
    return {{zoom, 0, 0, 0,                                                        //
             0, -zoom * aspect, 0, 0,                                              //
             -centreX, -centreY, -depth, -1.0,                                     //
             0, 0, -near * depth, 0}};
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
