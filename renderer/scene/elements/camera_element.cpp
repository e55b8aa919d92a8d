// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/camera_element.h"

#include <algorithm>

namespace orca::scene {

CameraElement::CameraElement() : Element(miSCENE_CAMERA) {
    camera.focal = 1.0f;
    camera.aperture = 1.0f;
    camera.aspect = 1.33f;
    camera.clip = {0.0001f, 1000000.0f};
    setResolution(768, 576);
}

void CameraElement::setResolution(int x, int y) {
    camera.x_resolution = x;
    camera.y_resolution = y;
    clipWindow();
}

void CameraElement::setWindow(int xl, int yl, int xh, int yh) {
    asked_ = {xl, yl, xh, yh};
    hasWindow = true;
    clipWindow();
}

void CameraElement::clipWindow() {
    camera.window = {0, 0, camera.x_resolution - 1, camera.y_resolution - 1};
    if (!hasWindow) return;
    camera.window = {std::max(asked_.xl, 0), std::max(asked_.yl, 0), std::min(asked_.xh, camera.window.xh),
                     std::min(asked_.yh, camera.window.yh)};
}

void CameraElement::visitReferences(const std::function<void(miTag)>& visit) const {
    visit(camera.lens);
    visit(camera.volume);
    visit(camera.environment);
    visit(camera.userdata);
    for (const OutputStatement& output : outputs) {
        for (const miTag shader : output.shaders) visit(shader);
    }
}

} // namespace orca::scene
