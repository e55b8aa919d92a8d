// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Vector arithmetic by value.

#include <shader.h>

#include <cmath>

namespace orca {

[[nodiscard]] inline miVector operator+(const miVector& a, const miVector& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
[[nodiscard]] inline miVector operator-(const miVector& a, const miVector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
[[nodiscard]] inline miVector operator*(float f, const miVector& a) {
    return {f * a.x, f * a.y, f * a.z};
}
[[nodiscard]] inline float dot(const miVector& a, const miVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
[[nodiscard]] inline miVector cross(const miVector& a, const miVector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
[[nodiscard]] inline bool isNull(const miVector& a) {
    return a.x == 0.0f && a.y == 0.0f && a.z == 0.0f;
}
/// Unit length. A null vector stays as it is.
[[nodiscard]] inline miVector normalized(const miVector& a) {
    const float square = dot(a, a);
    if (square > 1e-30f) return (1.0f / std::sqrt(square)) * a;
    // Too small to square in single precision.
    const double length = std::sqrt(double(a.x) * a.x + double(a.y) * a.y + double(a.z) * a.z);
    if (length == 0.0) return a;
    return {static_cast<float>(a.x / length), static_cast<float>(a.y / length),
            static_cast<float>(a.z / length)};
}
/// Weighted by barycentric coordinates (1 - u - v, u, v).
[[nodiscard]] inline miVector interpolate(const miVector& a, const miVector& b, const miVector& c, float u,
                                          float v) {
    return (1.0f - u - v) * a + u * b + v * c;
}

/// Point and vector times an affine matrix (last column 0 0 0 1).
[[nodiscard]] inline miVector transformPoint(const miVector& p, const miScalar* m) {
    return {p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12], p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13],
            p.x * m[2] + p.y * m[6] + p.z * m[10] + m[14]};
}
[[nodiscard]] inline miVector transformVector(const miVector& v, const miScalar* m) {
    return {v.x * m[0] + v.y * m[4] + v.z * m[8], v.x * m[1] + v.y * m[5] + v.z * m[9],
            v.x * m[2] + v.y * m[6] + v.z * m[10]};
}
/// Normal by the transpose of the inverse matrix. Not renormalised.
[[nodiscard]] inline miVector transformNormal(const miVector& n, const miScalar* inverse) {
    return {n.x * inverse[0] + n.y * inverse[1] + n.z * inverse[2],
            n.x * inverse[4] + n.y * inverse[5] + n.z * inverse[6],
            n.x * inverse[8] + n.y * inverse[9] + n.z * inverse[10]};
}

} // namespace orca
