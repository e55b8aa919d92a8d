// SPDX-License-Identifier: Apache-2.0
#include "geometry/animated_transform.h"

#include <ImathMatrix.h>
#include <ImathMatrixAlgo.h>
#include <ImathQuat.h>

#include <cmath>
#include <cstddef>

namespace orca::geometry {

namespace {

using Imath::M33d;
using Imath::M44d;
using Imath::Quatd;

double norm(const M33d& m) {
    double sum = 0.0;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) sum += m[i][j] * m[i][j];
    return std::sqrt(sum);
}

/// The rotation, or rotation and mirror, that is nearest to a matrix: Newton's iteration with scaling
/// (Higham, "Computing the Polar Decomposition - with Applications", 1986). False where it does not converge.
bool nearestRotation(const M33d& matrix, M33d& rotation) {
    constexpr int iterationsAtMost = 60; // 6 do for what artists make
    constexpr double close = 1e-14;
    rotation = matrix;
    for (int i = 0; i < iterationsAtMost; ++i) {
        const M33d inverse = rotation.inverse().transposed();
        const double scale = std::sqrt(norm(inverse) / norm(rotation));
        const M33d next = 0.5 * (scale * rotation + inverse / scale);
        const double step = norm(next - rotation);
        rotation = next;
        if (!std::isfinite(step)) return false;
        if (step < close) return true;
    }
    return true;
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

M33d matrixOf(const std::array<double, 9>& m) {
    return {m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]};
}

Quatd quaternionOf(const std::array<double, 4>& q) {
    return {q[0], q[1], q[2], q[3]};
}

} // namespace

bool AnimatedTransform::decompose(Key& key) {
    const auto& m = key.transform.m;
    if (m[3] != 0.0 || m[7] != 0.0 || m[11] != 0.0 || m[15] != 1.0) return false;
    const M33d matrix(m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]);
    const double handedness = matrix.determinant();
    M33d rotation;
    if (handedness == 0.0 || !std::isfinite(handedness) || !nearestRotation(matrix, rotation)) return false;
    // A mirror is a stretch by -1 along all three axes, which leaves a rotation.
    if (handedness < 0.0) rotation.negate();
    const M33d stretch = matrix * rotation.transposed();
    for (std::size_t i = 0; i < 9; ++i) key.stretch[i] = stretch.getValue()[i];
    const Quatd q = Imath::extractQuat(M44d(rotation, Imath::V3d(0.0))).normalized();
    key.rotation = {q.r, q.v.x, q.v.y, q.v.z};
    return true;
}

AnimatedTransform::AnimatedTransform(const Transform& firstKey, const Transform& secondKey)
    : first_{dividedThrough(firstKey)},
      second_{dividedThrough(secondKey)},
      decomposed_((determinant(first_.transform) < 0.0) == (determinant(second_.transform) < 0.0) &&
                  decompose(first_) && decompose(second_)) {
}

Transform AnimatedTransform::at(double part) const {
    Transform result;
    result.m = blend(first_.transform.m, second_.transform.m, part);
    if (!decomposed_) return result;
    const M33d stretch = matrixOf(blend(first_.stretch, second_.stretch, part));
    const Quatd rotation =
        Imath::slerpShortestArc(quaternionOf(first_.rotation), quaternionOf(second_.rotation), part);
    const M33d upperLeft = stretch * rotation.toMatrix33();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) result.m[static_cast<std::size_t>(4 * i + j)] = upperLeft[i][j];
    return result;
}

} // namespace orca::geometry
