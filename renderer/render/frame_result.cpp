// SPDX-License-Identifier: Apache-2.0
#include "render/frame_result.h"

#include <utility>

namespace orca::render {

FrameResult::FrameResult(Picture picture, std::unique_ptr<Film> film)
    : picture_(std::move(picture)), film_(std::move(film)) {
    const miCamera& camera = picture_.camera();
    frame_.width = camera.x_resolution;
    frame_.height = camera.y_resolution;
    frame_.window = {camera.window.xl, camera.window.yl, camera.window.xh, camera.window.yh};
    frame_.encoding = image::colorEncodingOf(picture_.options);
}

} // namespace orca::render
