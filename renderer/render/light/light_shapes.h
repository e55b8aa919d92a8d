// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::render {

/// Place on a light's shape, each coordinate from 0 to 1. A rectangle: along its edges. A disc: the squared
/// share of the radius, and the angle. A sphere: from its pole at +z to that at -z, and the angle about z. A
/// cylinder: along its axis, and the angle about it. The same distance in u and v is the same area
/// everywhere.
struct Place {
    float u, v;
};

/// The point of a place, relative to the light's origin, light space. A light without a shape: its origin.
[[nodiscard]] miVector pointOfPlace(const miLight& light, const Place& place);

/// The place of a point on the shape, which is relative to the light's origin. (0, 0) without a shape.
[[nodiscard]] Place placeOfPoint(const miLight& light, const miVector& point);

/// Coordinates of a point in a rectangle's plane along its edges, which need not be perpendicular: -0.5 to
/// 0.5 within the rectangle.
[[nodiscard]] Place sharesOfEdges(const miLight& light, const miVector& point);

} // namespace orca::render
