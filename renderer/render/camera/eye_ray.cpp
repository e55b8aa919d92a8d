// SPDX-License-Identifier: Apache-2.0
#include "render/camera/eye_ray.h"

#include "render/context/shaded_layers.h"
#include "render/context/surface_state.h"
#include "render/trace/trace_and_shade.h"

#include <algorithm>

namespace orca::render {

namespace {

/// Casts the child's ray (org, dir) within the camera's clipping range.
miBoolean castEyeRay(RenderContext& context, ChildState& child, miColor& result) {
    const Frame& frame = context.frame;
    ++context.counts.eye;
    // Lens shaders may pass a direction of any length.
    mi_vector_normalize(&child->dir);
    geometry::Ray ray;
    ray.origin = child->org;
    ray.direction = child->dir;
    ray.time = kernelTime(context, *child.get());
    ray.rayClass = geometry::RayClass::Eye;

    // The clipping planes are perpendicular to the view axis. For lenses that look sideways and back they end
    // in a sphere.
    miVector inCamera;
    mi_vector_transform(&inCamera, &child->dir, context.camera.fromWorld);
    constexpr float shallowest = 0.05f;
    const float length = mi_vector_norm(&inCamera);
    const float perDistance = length > 0.0f ? std::max(-inCamera.z / length, shallowest) : 1.0f;
    ray.nearDistance = std::max(frame.camera.clip.min / perDistance, context.eyeStart);
    ray.farDistance = frame.camera.clip.max / perDistance;
    ray.skipInstance = context.skipInstance;
    ray.skipTriangle = context.skipTriangle;
    if (ShadedLayers* const layers = context.shadedLayers) {
        if (layers->isLooking()) {
            traceWithoutShading(context, child, ray);
            layers->note(*child.get());
            return miTRUE;
        }
        context.sampler.continueAs(layers->sample());
    }
    return traceAndShade(context, child, ray, result);
}

} // namespace

void setEyeRay(RenderContext& context) {
    const Frame& frame = context.frame;
    miState& state = context.base;
    if (frame.placement.moves()) frame.placement.at(kernelTime(context, state), context.camera);
    const miCamera& camera = frame.camera;
    const miVector onPlane = frame.cameraFromRaster({state.raster_x, state.raster_y, -camera.focal});
    miVector origin{0.0f, 0.0f, 0.0f};
    miVector direction{onPlane.x, onPlane.y, -camera.focal};
    if (camera.orthographic) {
        origin = {onPlane.x, onPlane.y, 0.0f};
        direction = {0.0f, 0.0f, -1.0f};
    }
    mi_point_transform(&state.org, &origin, context.camera.toWorld);
    mi_vector_transform(&state.dir, &direction, context.camera.toWorld);
    mi_vector_normalize(&state.dir);
}

miBoolean traceThroughLenses(RenderContext& context, miColor& result) {
    const Frame& frame = context.frame;
    if (frame.camera.lens != miNULLTAG && !frame.options.no_lens)
        return context.runtime.callOne(&result, miSHADER_LENS, &context.base, frame.camera.lens);
    ChildState child(context, &context.base, miRAY_EYE);
    child->parent = nullptr;
    return castEyeRay(context, child, result);
}

miBoolean traceEye(miColor& result, miState* state, const miVector& origin, const miVector& direction) {
    RenderContext& context = renderContextOf(state);
    if (refusesRays(context)) return miFALSE;
    // The arguments may be the state's own fields.
    const miVector rayOrigin = origin;
    const miVector rayDirection = direction;
    state->org = rayOrigin;
    state->dir = rayDirection;

    ChildState child(context, state, miRAY_EYE);
    child->org = rayOrigin;
    child->dir = rayDirection;
    const miTag nextLens = state->shader ? state->shader->next_function : miNULLTAG;
    miBoolean delivered;
    if (nextLens != miNULLTAG)
        delivered = context.runtime.callOne(&result, miSHADER_LENS, child.get(), nextLens);
    else delivered = castEyeRay(context, child, result);

    state->label = child->label;
    state->point = child->point;
    state->normal = child->normal;
    state->dist = child->dist;
    state->motion = child->motion;
    state->instance = child->instance;
    state->light_instance = child->light_instance;
    return delivered;
}

} // namespace orca::render
