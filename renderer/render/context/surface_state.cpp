// SPDX-License-Identifier: Apache-2.0
#include "render/context/surface_state.h"

#include "geometry/ray_origin.h"
#include <algorithm>

namespace orca::render {

void setHit(const RenderContext& context, DerivedState& child, const geometry::Ray& ray,
            const geometry::Hit& hit, NormalSide side) {
    miState& state = child.state;
    const geometry::MeshInstance& meshInstance = context.frame.meshInstances[hit.meshInstance];
    geometry::SurfacePoint surface;
    context.frame.geometry.surfaceAt(ray, hit, surface, child.textureCoordinates.data());

    state.point = surface.point;
    state.normal = surface.normal;
    state.normal_geom = surface.geometricNormal;
    state.inv_normal = miFALSE;
    if (side == NormalSide::TowardRay && mi_vector_dot(&surface.geometricNormal, &state.dir) > 0.0f) {
        mi_vector_neg(&state.normal);
        mi_vector_neg(&state.normal_geom);
        state.inv_normal = miTRUE;
    }
    state.dot_nd = mi_vector_dot(&state.normal, &state.dir);
    state.dist = hit.distance;
    std::copy_n(surface.bary, 4, state.bary);
    state.instance = meshInstance.instance;
    state.label = surface.label;
    state.material = surface.material;
    state.pri = surface.primitive;
    const auto& hair = meshInstance.mesh->hair;
    state.pri_idx = hair ? static_cast<miGeoIndex>(hair->hairOf(hit.triangle)) : hit.triangle;
    state.hit_instance = hit.meshInstance;
    state.hit_triangle = hit.triangle;
    state.motion = surface.motion;
    if (context.frame.placement.moves()) {
        miVector closing;
        mi_vector_add(&closing, &surface.opening, &surface.motion);
        state.motion = context.frame.placement.apparentMotion(surface.opening, closing, context.camera);
    }
    state.tex_list = child.textureCoordinates.data();
    if (surface.textureSpaces == 0) child.textureCoordinates[0] = {0.0f, 0.0f, 0.0f};
    child.bumpX = surface.bumpX;
    child.bumpY = surface.bumpY;
    state.bump_x_list = &child.bumpX;
    state.bump_y_list = &child.bumpY;
    std::fill(std::begin(state.derivs), std::end(state.derivs), miVector{});
    state.derivs[0] = surface.dPdu;
    state.derivs[1] = surface.dPdv;
    state.cache = nullptr;
}

void setMiss(miState& state) {
    state.dist = 0.0;
    state.instance = state.light_instance = miNULLTAG;
    state.material = miNULLTAG;
    state.refraction_volume = miNULLTAG;
    state.label = 0;
    state.pri = nullptr;
    state.hit_instance = state.hit_triangle = geometry::nothing;
    state.motion = {0.0f, 0.0f, 0.0f};
    state.inv_normal = miFALSE;
}

float kernelTime(const RenderContext& context, const miState& state) {
    return context.frame.options.motion ? std::clamp(state.time, 0.0f, 1.0f) : 0.0f;
}

geometry::Ray rayFrom(const RenderContext& context, const miState& state, const miVector& origin,
                      const miVector& direction, geometry::RayClass rayClass) {
    geometry::Ray ray;
    const bool onSurface = state.hit_instance != geometry::nothing;
    ray.origin = onSurface ? geometry::offsetRayOrigin(origin, state.normal_geom, direction) : origin;
    ray.direction = direction;
    ray.time = kernelTime(context, state);
    ray.rayClass = rayClass;
    ray.skipInstance = state.hit_instance;
    ray.skipTriangle = state.hit_triangle;
    return ray;
}

} // namespace orca::render
