// SPDX-License-Identifier: Apache-2.0
#include "base/transform.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace orca {

Transform Transform::from(const float* matrix) {
    Transform transform;
    std::copy_n(matrix, 16, transform.m.begin());
    return transform;
}

void Transform::store(miScalar* matrix) const {
    const double scale = m[15] != 0.0 ? 1.0 / m[15] : 1.0;
    std::transform(m.begin(), m.end(), matrix, [&](double x) { return static_cast<miScalar>(x * scale); });
}

bool Transform::isIdentity() const {
    return *this == Transform{};
}

Transform operator*(const Transform& a, const Transform& b) {
    Transform product;
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 4; ++j) {
            double sum = 0.0;
            for (std::size_t k = 0; k < 4; ++k) sum += a.m[4 * i + k] * b.m[4 * k + j];
            product.m[4 * i + j] = sum;
        }
    return product;
}

Transform inverse(const Transform& a, bool& singular) {
    // Gauss-Jordan elimination with partial pivoting.
    std::array<double, 16> left = a.m;
    Transform right;
    for (std::size_t column = 0; column < 4; ++column) {
        std::size_t pivot = column;
        for (std::size_t row = column + 1; row < 4; ++row)
            if (std::abs(left[4 * row + column]) > std::abs(left[4 * pivot + column])) pivot = row;
        const double diagonal = left[4 * pivot + column];
        if (diagonal == 0.0 || !std::isfinite(diagonal)) {
            singular = true;
            return {};
        }
        for (std::size_t j = 0; j < 4; ++j) {
            std::swap(left[4 * column + j], left[4 * pivot + j]);
            std::swap(right.m[4 * column + j], right.m[4 * pivot + j]);
        }
        for (std::size_t j = 0; j < 4; ++j) {
            left[4 * column + j] /= diagonal;
            right.m[4 * column + j] /= diagonal;
        }
        for (std::size_t row = 0; row < 4; ++row) {
            if (row == column) continue;
            const double factor = left[4 * row + column];
            for (std::size_t j = 0; j < 4; ++j) {
                left[4 * row + j] -= factor * left[4 * column + j];
                right.m[4 * row + j] -= factor * right.m[4 * column + j];
            }
        }
    }
    singular = false;
    return right;
}

double determinant(const Transform& a) {
    const auto& m = a.m;
    return m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
           m[2] * (m[4] * m[9] - m[5] * m[8]);
}

} // namespace orca
