// SPDX-License-Identifier: Apache-2.0
#include "render/picture.h"

#include "scene/phenomenon_attachments.h"

#include <algorithm>

namespace orca::render {

std::optional<PictureElements> pictureElements(const scene::Database& database,
                                               const scene::RenderRequest& request, Log& log) {
    auto* instance = database.find<scene::InstanceElement>(request.cameraInstance);
    auto* camera = instance ? database.find<scene::CameraElement>(instance->instance.item) : nullptr;
    auto* options = database.find<scene::OptionsElement>(request.options);
    if (camera && options && database.find<scene::GroupElement>(request.group))
        return PictureElements{request.group, request.cameraInstance, camera, options};
    log.errorAt(request.location, "RNDR",
                "render needs an instance group, an instance of a camera and options");
    return std::nullopt;
}

Picture::Picture(const scene::Database& database, const PictureElements& elements, Log& log)
    : options(*elements.options),
      elements_(elements),
      camera_(elements.camera->camera),
      attachments_(
          scene::attachmentsTo(database, {elements.group, elements.cameraInstance, elements.options->tag})),
      framebuffers_(std::make_unique<image::FramebufferSet>(*elements.camera, *elements.options, log,
                                                            attachments_.outputs)) {
    options.options.string_options = options.tag;
    const auto attach = [](miTag& shader, const std::vector<miTag>& attached) {
        if (!shader && !attached.empty()) shader = attached.front();
    };
    attach(options.options.contour_store, attachments_.contourStore);
    attach(options.options.contour_contrast, attachments_.contourContrast);
    const bool isWhole = window() == display();
    setWindow(isWhole ? bounds() : window());
}

void Picture::setResolution(int width, int height) {
    camera_.x_resolution = width;
    camera_.y_resolution = height;
    setWindow(bounds());
}

void Picture::setOverscan(const scene::Overscan& overscan) {
    const bool isWhole = window() == bounds();
    options.overscan = overscan;
    setWindow(isWhole ? bounds() : window());
}

PixelWindow Picture::bounds() const {
    const auto& [across, up] = options.overscan;
    const PixelWindow whole = display();
    return {whole.xl - across, whole.yl - up, whole.xh + across, whole.yh + up};
}

void Picture::setWindow(const PixelWindow& window) {
    const PixelWindow most = bounds();
    camera_.window.xl = std::clamp(window.xl, most.xl, most.xh);
    camera_.window.yl = std::clamp(window.yl, most.yl, most.yh);
    camera_.window.xh = std::clamp(window.xh, camera_.window.xl, most.xh);
    camera_.window.yh = std::clamp(window.yh, camera_.window.yl, most.yh);
}

} // namespace orca::render
