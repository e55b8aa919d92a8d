// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <array>

namespace orca {

/// 4 x 4 matrix in double precision, for products along paths of the scene graph, which would lose too much
/// in single precision. Row-major, row vectors, translation in elements 12 to 14.
struct Transform {
    std::array<double, 16> m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    [[nodiscard]] static Transform from(const float* matrix);
    /// Divided through, so that element 15 is 1.
    void store(miScalar* matrix) const;
    [[nodiscard]] bool isIdentity() const;
    friend bool operator==(const Transform&, const Transform&) = default;
};

/// First a is applied, then b.
[[nodiscard]] Transform operator*(const Transform& a, const Transform& b);
/// The identity, and `singular` true, when there is no inverse.
[[nodiscard]] Transform inverse(const Transform& a, bool& singular);
/// Determinant of the upper left 3 x 3 part; negative: changes handedness.
[[nodiscard]] double determinant(const Transform& a);

} // namespace orca
