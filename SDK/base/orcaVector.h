// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Vector arithmetic by value.

#include <shader.h>

#include <cmath>

[[nodiscard]] constexpr miVector operator+(const miVector& a, const miVector& b) noexcept {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
[[nodiscard]] constexpr miVector operator-(const miVector& a, const miVector& b) noexcept {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
[[nodiscard]] constexpr miVector operator-(const miVector& a) noexcept {
    return {-a.x, -a.y, -a.z};
}
[[nodiscard]] constexpr miVector operator*(const miVector& a, miScalar f) noexcept {
    return {a.x * f, a.y * f, a.z * f};
}
[[nodiscard]] constexpr miScalar dot(const miVector& a, const miVector& b) noexcept {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
[[nodiscard]] constexpr miVector cross(const miVector& a, const miVector& b) noexcept {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
[[nodiscard]] inline miScalar length(const miVector& a) noexcept {
    return std::sqrt(dot(a, a));
}
[[nodiscard]] constexpr bool isNull(const miVector& v) noexcept {
    return v.x == 0.0f && v.y == 0.0f && v.z == 0.0f;
}
/// Unit length; a null vector stays null.
[[nodiscard]] inline miVector normalized(const miVector& a) noexcept {
    const miScalar l = length(a);
    return l == 0.0f ? a : a * (1.0f / l);
}
/// Direction of an incoming ray after reflection at a surface of normal `n`.
[[nodiscard]] constexpr miVector mirrored(const miVector& direction, const miVector& n) noexcept {
    return direction - n * (2.0f * dot(n, direction));
}
/// Two unit vectors that with the unit vector `n` make a right-handed orthonormal basis (Duff et al.,
/// "Building an Orthonormal Basis, Revisited", 2017).
inline void orthonormalBasis(const miVector& n, miVector& u, miVector& v) noexcept {
    const miScalar sign = std::copysign(1.0f, n.z);
    const miScalar a = -1.0f / (sign + n.z);
    const miScalar b = n.x * n.y * a;
    u = {1.0f + sign * n.x * n.x * a, sign * b, -sign * n.x};
    v = {b, sign + n.y * n.y * a, -n.y};
}
