// SPDX-License-Identifier: Apache-2.0
#include "render/camera/spaces.h"

#include "render/context/render_context.h"

namespace orca::render {

const miScalar* spaceMatrix(const miState* state, CoordinateSpace space, Mapping mapping) noexcept {
    const RenderContext& context = renderContextOf(state);
    const Frame& frame = context.frame;
    if (const DisplacementSpace* object = renderContextOf(state).displacementSpace) {
        switch (space) {
        case CoordinateSpace::World:
            return mapping == Mapping::FromInternal ? object->toWorld : object->fromWorld;
        case CoordinateSpace::Camera:
            return mapping == Mapping::FromInternal ? object->toCamera : object->fromCamera;
        default: return nullptr;
        }
    }
    const miInstance* instance = nullptr;
    switch (space) {
    case CoordinateSpace::World: return nullptr;
    case CoordinateSpace::Camera:
        return mapping == Mapping::FromInternal ? context.camera.fromWorld : context.camera.toWorld;
    case CoordinateSpace::Object:
        if (const geometry::MeshInstance* meshInstance = frame.meshInstanceOf(state->instance))
            instance = meshInstance->instanceRecord;
        break;
    case CoordinateSpace::Light:
        if (const LightInstance* light = frame.lights.of(state->light_instance)) instance = light->record;
        break;
    }
    if (!instance) return nullptr;
    return mapping == Mapping::FromInternal ? instance->tf.global_to_local : instance->tf.local_to_global;
}

void transformPoint(const miState* state, CoordinateSpace space, Mapping mapping, miVector& result,
                    const miVector& point) noexcept {
    const miScalar* matrix = spaceMatrix(state, space, mapping);
    if (matrix) mi_point_transform(&result, &point, matrix);
    else result = point;
}

void transformVector(const miState* state, CoordinateSpace space, Mapping mapping, miVector& result,
                     const miVector& vector) noexcept {
    const miScalar* matrix = spaceMatrix(state, space, mapping);
    if (matrix) mi_vector_transform(&result, &vector, matrix);
    else result = vector;
}

void transformNormal(const miState* state, CoordinateSpace space, Mapping mapping, miVector& result,
                     const miVector& normal) noexcept {
    const miScalar* inverse = spaceMatrix(
        state, space, mapping == Mapping::FromInternal ? Mapping::ToInternal : Mapping::FromInternal);
    if (inverse) mi_vector_transform_T(&result, &normal, inverse);
    else result = normal;
}

void pointToRaster(const miState* state, miVector& result, const miVector& point) noexcept {
    miVector inCamera;
    transformPoint(state, CoordinateSpace::Camera, Mapping::FromInternal, inCamera, point);
    result = renderContextOf(state).frame.rasterFromCamera(inCamera);
}

void pointFromRaster(const miState* state, miVector& result, const miVector& point) noexcept {
    const miVector inCamera = renderContextOf(state).frame.cameraFromRaster(point);
    transformPoint(state, CoordinateSpace::Camera, Mapping::ToInternal, result, inCamera);
}

} // namespace orca::render
