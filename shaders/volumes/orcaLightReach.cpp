// SPDX-License-Identifier: Apache-2.0
#include "orcaLightReach.h"

#include <algorithm>
#include <cmath>

LightReach::LightReach(miState* state, miTag instance) {
    int type = 0;
    known = mi_query(miQ_LIGHT_TYPE, state, instance, &type) != 0;
    miMatrix toWorld;
    if (!known || !mi_query(miQ_INST_LOCAL_TO_GLOBAL, state, instance, toWorld)) return;
    hasPlace = type != miLIGHT_DIRECTION;
    isSpot = type == miLIGHT_SPOT;
    mi_query(miQ_LIGHT_ORIGIN, state, instance, &origin);
    mi_point_transform(&origin, &origin, toWorld);
    mi_query(miQ_LIGHT_DIRECTION, state, instance, &direction);
    mi_vector_transform(&direction, &direction, toWorld);
    direction = normalized(direction);
    mi_query(miQ_LIGHT_SPREAD, state, instance, &spread);
}

bool LightReach::cut(const VolumeRay& ray, VolumeSpan& span) const {
    if (!isSpot || spread <= 0.0f) return true;
    // (v . axis)^2 - spread^2 v . v >= 0 for v from the light to the point, in front of the light.
    const miVector v = ray.origin - origin;
    const double c2 = double{spread} * spread;
    const double along = dot(ray.direction, direction), start = dot(v, direction);
    const double a = along * along - c2, b = start * along - c2 * dot(v, ray.direction),
                 c = start * start - c2 * dot(v, v);
    const double discriminant = b * b - a * c;
    const auto keep = [&](double from, double to) {
        span.from = std::max(span.from, static_cast<float>(from));
        span.to = std::min(span.to, static_cast<float>(to));
        return span.from < span.to;
    };
    constexpr double flat = 1e-9;
    if (a < -flat) { // crosses one half of the cone, or none
        if (discriminant <= 0.0) return false;
        const double root = std::sqrt(discriminant);
        const double near = (-b + root) / a, far = (-b - root) / a;
        return start + 0.5 * (near + far) * along > 0.0 && keep(near, far);
    }
    if (std::abs(along) < flat) return false; // lies in a plane beside the cone
    // Enters the half in front on one side only, and stays in it.
    double edge = -start / along; // level with the light
    if (a > flat && discriminant > 0.0) {
        const double root = std::sqrt(discriminant);
        edge = along > 0.0 ? (-b + root) / a : (-b - root) / a;
    } else if (a <= flat && std::abs(b) > flat) {
        edge = -0.5 * c / b;
    }
    return along > 0.0 ? keep(edge, span.to) : keep(span.from, edge);
}

bool LightReach::cutToRadius(const VolumeRay& ray, miScalar radius, VolumeSpan& span) const {
    const miVector v = ray.origin - origin;
    const double b = dot(v, ray.direction), c = double{dot(v, v)} - double{radius} * radius;
    const double discriminant = b * b - c;
    if (discriminant <= 0.0) return false;
    const double root = std::sqrt(discriminant);
    span.from = std::max(span.from, static_cast<float>(-b - root));
    span.to = std::min(span.to, static_cast<float>(-b + root));
    return span.from < span.to;
}
