// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/framebuffers.h"
#include "render/film/pixel_window.h"
#include "scene/database.h"
#include "scene/elements/elements.h"
#include "scene/elements/phenomenon.h"
#include "scene/render_request.h"

#include <shader.h>

#include <memory>
#include <optional>

namespace orca::render {

/// The elements that a render statement names; the pointers are never null.
struct PictureElements {
    miTag group, cameraInstance;
    scene::CameraElement* camera;
    scene::OptionsElement* options;
};

/// Nothing, with a message at the statement, when it names no instance group, no instance of a camera or no
/// options.
[[nodiscard]] std::optional<PictureElements> pictureElements(const scene::Database& database,
                                                             const scene::RenderRequest& request, Log& log);

/// One picture to render: its elements, what phenomena attach to it, its frame buffers, and its own copies of
/// camera record and options, where settings of the caller replace those of the scene. The elements must
/// outlive it.
class Picture {
public:
    /// Reports frame buffers that cannot be made as errors.
    Picture(const scene::Database& database, const PictureElements& elements, Log& log);

    scene::OptionsElement options;

    /// Size in pixels, both at least 1; the window becomes the whole picture.
    void setResolution(int width, int height);
    /// In place of that of the options. A window that is the whole picture grows or shrinks with it.
    void setOverscan(const scene::Overscan& overscan);
    /// Pixels to render; what lies outside of the picture and its overscan is cut off.
    void setWindow(const PixelWindow& window);

    [[nodiscard]] const miCamera& camera() const { return camera_; }
    [[nodiscard]] PixelWindow window() const {
        return {camera_.window.xl, camera_.window.yl, camera_.window.xh, camera_.window.yh};
    }
    /// What the camera's resolution says, without overscan.
    [[nodiscard]] PixelWindow display() const {
        return {0, 0, camera_.x_resolution - 1, camera_.y_resolution - 1};
    }
    /// The display and the overscan around it.
    [[nodiscard]] PixelWindow bounds() const;
    [[nodiscard]] bool hasOverscan() const { return bounds() != display(); }
    [[nodiscard]] const PictureElements& elements() const { return elements_; }
    [[nodiscard]] const scene::PhenomenonAttachments& attachments() const { return attachments_; }
    [[nodiscard]] const image::FramebufferSet& framebuffers() const { return *framebuffers_; }
    [[nodiscard]] image::FramebufferSet& framebuffers() { return *framebuffers_; }

private:
    PictureElements elements_;
    miCamera camera_;
    scene::PhenomenonAttachments attachments_;
    std::unique_ptr<image::FramebufferSet> framebuffers_;
};

} // namespace orca::render
