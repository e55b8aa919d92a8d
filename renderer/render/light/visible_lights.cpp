// SPDX-License-Identifier: Apache-2.0
#include "render/light/visible_lights.h"

#include "render/context/surface_state.h"

#include <cmath>
#include <numbers>
#include <optional>
#include <utility>

namespace orca::render {

namespace {

/// A ray in light space. The direction is not normalised after its transformation, so that distances along it
/// are those of world space.
struct LightSpaceRay {
    miVector origin, direction; ///< the origin relative to the light's
    float least, most;
};

struct ShapeHit {
    float distance;
    miVector normal; ///< light space, any length
};

bool within(const LightSpaceRay& ray, float distance) {
    return distance > ray.least && distance < ray.most;
}

miVector pointAt(const LightSpaceRay& ray, float distance) {
    return {ray.origin.x + distance * ray.direction.x, ray.origin.y + distance * ray.direction.y,
            ray.origin.z + distance * ray.direction.z};
}

std::optional<float> planeDistance(const LightSpaceRay& ray, const miVector& normal) {
    const float facing = mi_vector_dot(&ray.direction, &normal);
    if (facing == 0.0f) return std::nullopt;
    const float distance = -mi_vector_dot(&ray.origin, &normal) / facing;
    if (!within(ray, distance)) return std::nullopt;
    return distance;
}

std::optional<ShapeHit> intersectRectangle(const LightSpaceRay& ray, const miLight& light) {
    miVector normal;
    mi_vector_prod(&normal, &light.edge_u, &light.edge_v);
    const auto distance = planeDistance(ray, normal);
    if (!distance) return std::nullopt;
    const Place shares = sharesOfEdges(light, pointAt(ray, *distance));
    if (!(std::abs(shares.u) <= 0.5f && std::abs(shares.v) <= 0.5f)) return std::nullopt;
    return ShapeHit{*distance, normal};
}

std::optional<ShapeHit> intersectDisc(const LightSpaceRay& ray, const miLight& light) {
    const auto distance = planeDistance(ray, light.axis);
    if (!distance) return std::nullopt;
    const miVector p = pointAt(ray, *distance);
    if (!(mi_vector_dot(&p, &p) <= light.radius * light.radius)) return std::nullopt;
    return ShapeHit{*distance, light.axis};
}

/// Nearer root of a t^2 + 2 b t + c = 0 within the ray that `accepts`.
template <class Accepts>
std::optional<float> nearestRoot(const LightSpaceRay& ray, float a, float b, float c,
                                 const Accepts& accepts) {
    const float discriminant = b * b - a * c;
    if (!(discriminant >= 0.0f) || a == 0.0f) return std::nullopt;
    const float root = std::sqrt(discriminant);
    for (const float distance : {(-b - root) / a, (-b + root) / a})
        if (within(ray, distance) && accepts(distance)) return distance;
    return std::nullopt;
}

std::optional<ShapeHit> intersectSphere(const LightSpaceRay& ray, const miLight& light) {
    const auto distance = nearestRoot(
        ray, mi_vector_dot(&ray.direction, &ray.direction), mi_vector_dot(&ray.origin, &ray.direction),
        mi_vector_dot(&ray.origin, &ray.origin) - light.radius * light.radius, [](float) { return true; });
    if (!distance) return std::nullopt;
    return ShapeHit{*distance, pointAt(ray, *distance)};
}

/// Without end caps.
std::optional<ShapeHit> intersectCylinder(const LightSpaceRay& ray, const miLight& light) {
    miVector axis = light.axis;
    const float halfLength = 0.5f * mi_vector_norm(&axis);
    mi_vector_normalize(&axis);
    const auto perpendicular = [&](const miVector& v) {
        const float along = mi_vector_dot(&v, &axis);
        return miVector{v.x - along * axis.x, v.y - along * axis.y, v.z - along * axis.z};
    };
    const miVector origin = perpendicular(ray.origin), direction = perpendicular(ray.direction);
    const auto distance =
        nearestRoot(ray, mi_vector_dot(&direction, &direction), mi_vector_dot(&origin, &direction),
                    mi_vector_dot(&origin, &origin) - light.radius * light.radius, [&](float at) {
                        const miVector p = pointAt(ray, at);
                        return std::abs(mi_vector_dot(&p, &axis)) <= halfLength;
                    });
    if (!distance) return std::nullopt;
    return ShapeHit{*distance, perpendicular(pointAt(ray, *distance))};
}

std::optional<ShapeHit> intersect(const LightSpaceRay& ray, const miLight& light) {
    switch (light.area) {
    case miLIGHT_RECTANGLE: return intersectRectangle(ray, light);
    case miLIGHT_DISC: return intersectDisc(ray, light);
    case miLIGHT_SPHERE: return intersectSphere(ray, light);
    case miLIGHT_CYLINDER: return intersectCylinder(ray, light);
    default: return std::nullopt;
    }
}

/// Area of the parallelogram that two directions of light space span, in internal space.
float areaInternal(miVector a, miVector b, const miTransform& place) {
    mi_vector_transform(&a, &a, place.local_to_global);
    mi_vector_transform(&b, &b, place.local_to_global);
    miVector normal;
    mi_vector_prod(&normal, &a, &b);
    return mi_vector_norm(&normal);
}

/// Any two directions of unit length that are perpendicular to the axis and each other.
std::pair<miVector, miVector> across(const miVector& axis) {
    miVector unit = axis, u, v;
    mi_vector_normalize(&unit);
    const miVector helper = std::abs(unit.x) < 0.5f ? miVector{1.0f, 0.0f, 0.0f} : miVector{0.0f, 1.0f, 0.0f};
    mi_vector_prod(&u, &unit, &helper);
    mi_vector_normalize(&u);
    mi_vector_prod(&v, &unit, &u);
    return {u, v};
}

/// Distance at which a light shader that decays with the square of it gives the lamp's radiance: the radius r
/// of a disc that is as large as the shape looks from its front. A lamp of radiance L lights a white surface
/// at a large distance d to L r^2 / d^2, which is the shader's I / d^2, so L is I / r^2: the shader's light
/// at the distance r. It is that from anywhere, as radiance is the same along a ray.
float radianceDistance(const miLight& light, const miTransform& place) {
    constexpr float pi = std::numbers::pi_v<float>;
    const miVector axes[] = {{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}};
    switch (light.area) {
    case miLIGHT_RECTANGLE: return std::sqrt(areaInternal(light.edge_u, light.edge_v, place) / pi);
    case miLIGHT_DISC: {
        const auto [u, v] = across(light.axis);
        return light.radius * std::sqrt(areaInternal(u, v, place));
    }
    case miLIGHT_CYLINDER: { // as wide as two radii, from the side
        const auto [u, v] = across(light.axis);
        return std::sqrt(2.0f * light.radius * areaInternal(u, light.axis, place) / pi);
    }
    default: // a sphere; of a stretched one the mean of three views
        return light.radius *
               std::sqrt((areaInternal(axes[0], axes[1], place) + areaInternal(axes[1], axes[2], place) +
                          areaInternal(axes[2], axes[0], place)) /
                         3.0f);
    }
}

} // namespace

bool findVisibleLight(const Frame& frame, const geometry::Ray& ray, float limit, LightHit& hit) {
    if (frame.lights.visible().empty() || ray.rayClass == geometry::RayClass::Gather ||
        ray.rayClass == geometry::RayClass::Shadow)
        return false;
    const bool fromEye = ray.rayClass == geometry::RayClass::Eye;
    bool found = false;
    for (const LightInstance* light : frame.lights.visible()) {
        if (!(fromEye ? light->record->visible : light->record->trace)) continue;
        const miTransform& place = light->record->tf;
        LightSpaceRay local;
        mi_point_transform(&local.origin, &ray.origin, place.global_to_local);
        mi_vector_sub(&local.origin, &local.origin, &light->light->origin);
        mi_vector_transform(&local.direction, &ray.direction, place.global_to_local);
        local.least = ray.nearDistance;
        local.most = limit;
        const auto shape = intersect(local, *light->light);
        if (!shape) continue;
        found = true;
        limit = shape->distance;
        hit.light = light;
        hit.distance = shape->distance;
        hit.place = placeOfPoint(*light->light, pointAt(local, shape->distance));
        mi_vector_transform_T(&hit.normal, &shape->normal, place.global_to_local);
        mi_vector_normalize(&hit.normal);
    }
    return found;
}

miBoolean shadeVisibleLight(RenderContext& context, DerivedState& child, const LightHit& hit,
                            miColor& result) {
    miState& state = child.state;
    setMiss(state);
    state.point = {state.org.x + hit.distance * state.dir.x, state.org.y + hit.distance * state.dir.y,
                   state.org.z + hit.distance * state.dir.z};
    state.dist = radianceDistance(*hit.light->light, hit.light->record->tf);
    state.normal = hit.normal;
    if (mi_vector_dot(&state.normal, &state.dir) > 0.0f) mi_vector_neg(&state.normal);
    state.normal_geom = state.normal;
    state.dot_nd = mi_vector_dot(&state.normal, &state.dir);
    state.light_instance = hit.light->instance;
    child.textureCoordinates[0] = {hit.place.u, hit.place.v, 0.0f};
    state.tex_list = child.textureCoordinates.data();
    ++context.counts.lightCalls;
    const miBoolean delivered =
        context.runtime.call(&result, miSHADER_LIGHT, &state, hit.light->light->shader);
    state.dist = hit.distance; // again what it is, for volumes
    return delivered;
}

} // namespace orca::render
