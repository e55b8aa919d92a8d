// SPDX-License-Identifier: Apache-2.0
#include "geometry/animated_transform.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace orca::geometry {

namespace {

using Matrix3 = std::array<double, 9>;
using Quaternion = std::array<double, 4>; // x y z w

double determinantOf(const Matrix3& m) {
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
           m[2] * (m[3] * m[7] - m[4] * m[6]);
}

/// The transposed inverse; `m` is not singular.
Matrix3 transposedInverse(const Matrix3& m) {
    const double scale = 1.0 / determinantOf(m);
    return {scale * (m[4] * m[8] - m[5] * m[7]), scale * (m[5] * m[6] - m[3] * m[8]),
            scale * (m[3] * m[7] - m[4] * m[6]), scale * (m[2] * m[7] - m[1] * m[8]),
            scale * (m[0] * m[8] - m[2] * m[6]), scale * (m[1] * m[6] - m[0] * m[7]),
            scale * (m[1] * m[5] - m[2] * m[4]), scale * (m[2] * m[3] - m[0] * m[5]),
            scale * (m[0] * m[4] - m[1] * m[3])};
}

double norm(const Matrix3& m) {
    double sum = 0.0;
    for (const double x : m) sum += x * x;
    return std::sqrt(sum);
}

/// Product of `a` and the transpose of `b`.
Matrix3 timesTransposed(const Matrix3& a, const Matrix3& b) {
    Matrix3 product;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            product[3 * i + j] =
                a[3 * i] * b[3 * j] + a[3 * i + 1] * b[3 * j + 1] + a[3 * i + 2] * b[3 * j + 2];
    return product;
}

/// The rotation, or rotation and mirror, that is nearest to a matrix: Newton's iteration with scaling
/// (Higham, "Computing the Polar Decomposition - with Applications", 1986). False where it goes nowhere.
bool nearestRotation(const Matrix3& matrix, Matrix3& rotation) {
    constexpr int iterationsAtMost = 60; // 6 do for what artists make
    constexpr double close = 1e-14;
    rotation = matrix;
    for (int i = 0; i < iterationsAtMost; ++i) {
        const Matrix3 inverse = transposedInverse(rotation);
        const double scale = std::sqrt(norm(inverse) / norm(rotation));
        Matrix3 change;
        for (std::size_t k = 0; k < 9; ++k) {
            const double next = 0.5 * (scale * rotation[k] + inverse[k] / scale);
            change[k] = next - rotation[k];
            rotation[k] = next;
        }
        const double step = norm(change);
        if (!std::isfinite(step)) return false;
        if (step < close) return true;
    }
    return true;
}

/// Of a proper rotation (Shepperd, "Quaternion from Rotation Matrix", 1978).
Quaternion quaternionOf(const Matrix3& m) {
    const double trace = m[0] + m[4] + m[8];
    Quaternion q;
    if (trace > 0.0) {
        const double s = 2.0 * std::sqrt(trace + 1.0);
        q = {(m[5] - m[7]) / s, (m[6] - m[2]) / s, (m[1] - m[3]) / s, 0.25 * s};
    } else {
        const std::size_t i = m[0] >= m[4] && m[0] >= m[8] ? 0 : m[4] >= m[8] ? 1 : 2;
        const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
        const double s = 2.0 * std::sqrt(std::max(0.0, 1.0 + m[4 * i] - m[4 * j] - m[4 * k]));
        q[i] = 0.25 * s;
        q[j] = (m[3 * i + j] + m[3 * j + i]) / s;
        q[k] = (m[3 * i + k] + m[3 * k + i]) / s;
        q[3] = (m[3 * j + k] - m[3 * k + j]) / s;
    }
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (double& x : q) x /= length;
    return q;
}

Matrix3 matrixOf(const Quaternion& q) {
    const auto [x, y, z, w] = q;
    return {1.0 - 2.0 * (y * y + z * z), 2.0 * (x * y + w * z),       2.0 * (x * z - w * y),
            2.0 * (x * y - w * z),       1.0 - 2.0 * (x * x + z * z), 2.0 * (y * z + w * x),
            2.0 * (x * z + w * y),       2.0 * (y * z - w * x),       1.0 - 2.0 * (x * x + y * y)};
}

/// Even turn from one rotation to another, the shorter way round.
Quaternion slerp(const Quaternion& from, Quaternion to, double part) {
    double dot = 0.0;
    for (std::size_t i = 0; i < 4; ++i) dot += from[i] * to[i];
    if (dot < 0.0)
        for (double& x : to) x = -x;
    double apart = 0.0, together = 0.0;
    for (std::size_t i = 0; i < 4; ++i) {
        apart += (to[i] - from[i]) * (to[i] - from[i]);
        together += (to[i] + from[i]) * (to[i] + from[i]);
    }
    const double angle = 2.0 * std::atan2(std::sqrt(apart), std::sqrt(together));
    const double sine = std::sin(angle);
    constexpr double hardlyATurn = 1e-9; // there the blend is the turn
    const double a = sine > hardlyATurn ? std::sin((1.0 - part) * angle) / sine : 1.0 - part;
    const double b = sine > hardlyATurn ? std::sin(part * angle) / sine : part;
    Quaternion q;
    for (std::size_t i = 0; i < 4; ++i) q[i] = a * from[i] + b * to[i];
    return q;
}

template <std::size_t n>
std::array<double, n> blend(const std::array<double, n>& a, const std::array<double, n>& b, double part) {
    std::array<double, n> result;
    for (std::size_t i = 0; i < n; ++i) result[i] = (1.0 - part) * a[i] + part * b[i];
    return result;
}

Transform dividedThrough(Transform transform) {
    const double scale = transform.m[15];
    if (scale != 0.0 && scale != 1.0)
        for (double& x : transform.m) x /= scale;
    return transform;
}

} // namespace

bool AnimatedTransform::decompose(const Transform& transform, Parts& parts) {
    const auto& m = transform.m;
    if (m[3] != 0.0 || m[7] != 0.0 || m[11] != 0.0 || m[15] != 1.0) return false;
    const Matrix3 matrix{m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]};
    const double handedness = determinantOf(matrix);
    Matrix3 rotation;
    if (handedness == 0.0 || !std::isfinite(handedness) || !nearestRotation(matrix, rotation)) return false;
    // A mirror is a stretch by -1 along all three axes, which leaves a rotation.
    if (handedness < 0.0)
        for (double& x : rotation) x = -x;
    parts.stretch = timesTransposed(matrix, rotation);
    parts.rotation = quaternionOf(rotation);
    return true;
}

AnimatedTransform::AnimatedTransform(const Transform& start, const Transform& end)
    : start_(dividedThrough(start)),
      end_(dividedThrough(end)),
      atStart_{},
      atEnd_{},
      hasParts_((determinant(start_) < 0.0) == (determinant(end_) < 0.0) && decompose(start_, atStart_) &&
                decompose(end_, atEnd_)) {
}

Transform AnimatedTransform::at(double part) const {
    Transform result;
    result.m = blend(start_.m, end_.m, part);
    if (!hasParts_) return result;
    const Matrix3 stretch = blend(atStart_.stretch, atEnd_.stretch, part);
    const Matrix3 turn = matrixOf(slerp(atStart_.rotation, atEnd_.rotation, part));
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            result.m[4 * i + j] = stretch[3 * i] * turn[j] + stretch[3 * i + 1] * turn[3 + j] +
                                  stretch[3 * i + 2] * turn[6 + j];
    return result;
}

} // namespace orca::geometry
