// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/elements.h"

#include <algorithm>
#include <limits>

namespace orca::scene {

void GroupElement::visitReferences(const std::function<void(miTag)>& visit) const {
    for (const miTag member : members) visit(member);
    visit(userdata);
}

OptionsElement::OptionsElement() : Element(miSCENE_OPTIONS) {
    options.trace = miTRUE;
    options.scanline = 1;
    options.reflection_depth = options.refraction_depth = options.trace_depth = 1;
    options.min_samples = -2;
    options.max_samples = 0;
    options.contrast = {0.1f, 0.1f, 0.1f, 0.1f};
    options.time_contrast = {0.2f, 0.2f, 0.2f, 0.2f};
    options.filter = miFILTER_BOX;
    options.filter_size_x = options.filter_size_y = 1.0f;
    options.shadow = miSHADOW_SIMPLE;
    options.finalgather_rays = 1000;
    options.render_space = 'o';
    options.face = 'a';
    options.luminance_weight = {0.299f, 0.587f, 0.114f, 0.0f};
    options.gamma = 1.0f;
    options.motion_steps = 1;
}

void OptionsElement::visitReferences(const std::function<void(miTag)>& visit) const {
    visit(options.state_func);
    visit(options.userdata);
    visit(options.inh_funcdecl);
}

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

LightElement::LightElement() : Element(miSCENE_LIGHT) {
    light.exponent = 2.0f;
    light.samples_u = light.samples_v = 1;
    light.low_samples_u = light.low_samples_v = 2;
    light.low_level = 0;
    light.direction = {0.0f, 0.0f, -1.0f};
}

InstanceElement::InstanceElement() : Element(miSCENE_INSTANCE) {
    clearTransform();
    mi_matrix_ident(motionTransform.data());
    mi_matrix_ident(instance.motion_transform);
}

void InstanceElement::clearTransform() {
    mi_matrix_ident(transform.data());
    mi_matrix_ident(instance.tf.global_to_local);
    mi_matrix_ident(instance.tf.local_to_global);
    instance.tf.identity = miTRUE;
}

bool InstanceElement::setTransform(const Matrix& parentToLocal) {
    Matrix inverse;
    if (!mi_matrix_invert(inverse.data(), parentToLocal.data())) {
        clearTransform();
        return false;
    }
    transform = parentToLocal;
    mi_matrix_copy(instance.tf.global_to_local, parentToLocal.data());
    mi_matrix_copy(instance.tf.local_to_global, inverse.data());
    instance.tf.identity = mi_matrix_isident(parentToLocal.data());
    return true;
}

ObjectElement::ObjectElement() : Element(miSCENE_OBJECT) {
    object.reflection = object.refraction = object.transparency = object.finalgather = 3;
    object.shadow_mode = 3;
    object.face = 'a';
}

void ObjectElement::visitReferences(const std::function<void(miTag)>& visit) const {
    visit(object.userdata);
    for (const PolygonGroup& group : groups) {
        miTag last = miNULLTAG; // neighbours mostly share their material
        for (const PolygonGroup::Polygon& polygon : group.polygons) {
            if (polygon.material != last) visit(last = polygon.material);
        }
    }
}

std::size_t ObjectElement::triangleCount() const {
    std::size_t count = 0;
    for (const PolygonGroup& group : groups) {
        for (const PolygonGroup::Polygon& polygon : group.polygons) {
            std::size_t corners = 0;
            for (std::uint32_t i = 0; i < polygon.loopCount; ++i) {
                corners += group.loops[polygon.firstLoop + i].count;
            }
            // Every hole is joined to the outline by a bridge that both sides walk.
            count += corners + 2 * (polygon.loopCount - 1) - 2;
        }
    }
    for (const TriangleList& list : triangleLists) count += list.indices.size() / 3;
    return count;
}

void ObjectElement::updateBounds() {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    miVector low{infinity, infinity, infinity}, high{-infinity, -infinity, -infinity};
    const auto include = [&](float x, float y, float z) {
        low = {std::min(low.x, x), std::min(low.y, y), std::min(low.z, z)};
        high = {std::max(high.x, x), std::max(high.y, y), std::max(high.z, z)};
    };
    for (const PolygonGroup& group : groups) {
        for (const std::int32_t point : group.position) {
            const miVector& p = group.vectors[point];
            include(p.x, p.y, p.z);
        }
    }
    for (const TriangleList& list : triangleLists) {
        for (std::size_t v = 0; v < list.vertices.size(); v += list.layout.stride) {
            include(list.vertices[v], list.vertices[v + 1], list.vertices[v + 2]);
        }
    }
    const bool isAnything = low.x <= high.x;
    object.bbox_min = isAnything ? low : miVector{0, 0, 0};
    object.bbox_max = isAnything ? high : miVector{0, 0, 0};
}

} // namespace orca::scene
