// SPDX-License-Identifier: Apache-2.0
#include "render/light/light_shapes.h"

#include "base/orthonormal_basis.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::render {

namespace {

constexpr float fullTurn = 2.0f * std::numbers::pi_v<float>;

OrthonormalBasis basisOf(const miLight& light) {
    miVector axis = light.axis;
    mi_vector_normalize(&axis);
    return basisAbout(axis);
}

/// Share of a full turn from x toward y, 0 to 1.
float turn(float x, float y) {
    const float share = std::atan2(y, x) / fullTurn;
    return share < 0.0f ? share + 1.0f : share;
}

} // namespace

miVector pointOfPlace(const miLight& light, const Place& place) {
    const auto [u, v] = place;
    const float angle = fullTurn * v;
    switch (light.area) {
    case miLIGHT_RECTANGLE:
        return {(u - 0.5f) * light.edge_u.x + (v - 0.5f) * light.edge_v.x,
                (u - 0.5f) * light.edge_u.y + (v - 0.5f) * light.edge_v.y,
                (u - 0.5f) * light.edge_u.z + (v - 0.5f) * light.edge_v.z};
    case miLIGHT_DISC: {
        const float radius = light.radius * std::sqrt(u);
        return basisOf(light).combine(radius * std::cos(angle), radius * std::sin(angle), 0.0f);
    }
    case miLIGHT_SPHERE: {
        const float z = 1.0f - 2.0f * u;
        const float ring = std::sqrt(std::max(0.0f, 1.0f - z * z));
        return {light.radius * ring * std::cos(angle), light.radius * ring * std::sin(angle),
                light.radius * z};
    }
    case miLIGHT_CYLINDER:
        return basisOf(light).combine(light.radius * std::cos(angle), light.radius * std::sin(angle),
                                      (u - 0.5f) * mi_vector_norm(&light.axis));
    default: return {0.0f, 0.0f, 0.0f};
    }
}

Place placeOfPoint(const miLight& light, const miVector& point) {
    switch (light.area) {
    case miLIGHT_RECTANGLE: {
        const Place shares = sharesOfEdges(light, point);
        return {shares.u + 0.5f, shares.v + 0.5f};
    }
    case miLIGHT_DISC: {
        const OrthonormalBasis basis = basisOf(light);
        const float x = mi_vector_dot(&point, &basis.x), y = mi_vector_dot(&point, &basis.y);
        return {std::min(1.0f, (x * x + y * y) / (light.radius * light.radius)), turn(x, y)};
    }
    case miLIGHT_SPHERE:
        return {std::clamp(0.5f - 0.5f * point.z / light.radius, 0.0f, 1.0f), turn(point.x, point.y)};
    case miLIGHT_CYLINDER: {
        const OrthonormalBasis basis = basisOf(light);
        return {mi_vector_dot(&point, &basis.z) / mi_vector_norm(&light.axis) + 0.5f,
                turn(mi_vector_dot(&point, &basis.x), mi_vector_dot(&point, &basis.y))};
    }
    default: return {0.0f, 0.0f};
    }
}

Place sharesOfEdges(const miLight& light, const miVector& point) {
    miVector normal, across;
    mi_vector_prod(&normal, &light.edge_u, &light.edge_v);
    const float area = mi_vector_dot(&normal, &normal);
    mi_vector_prod(&across, &point, &light.edge_v);
    const float u = mi_vector_dot(&across, &normal) / area;
    mi_vector_prod(&across, &light.edge_u, &point);
    return {u, mi_vector_dot(&across, &normal) / area};
}

} // namespace orca::render
