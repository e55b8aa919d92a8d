// SPDX-License-Identifier: Apache-2.0
#include "mathematics/gradient_noise.h"
#include "mathematics/spline.h"

#include <shader.h>

#include <algorithm>
#include <cstddef>

using namespace orca;

namespace {

/// From -1..1 to 0..1.
template <int n>
NoiseSample<n> unsignedOf(NoiseSample<n> noise) {
    noise.value = 0.5f * noise.value + 0.5f;
    for (float& slope : noise.gradient) slope *= 0.5f;
    return noise;
}

NoiseSample<3> noiseAt(const miVector& p) {
    return gradientNoise({p.x, p.y, p.z});
}

miScalar give(const NoiseSample<1>& noise, miScalar* gx) {
    *gx = noise.gradient[0];
    return noise.value;
}

miScalar give(const NoiseSample<2>& noise, miScalar* gx, miScalar* gy) {
    *gx = noise.gradient[0];
    *gy = noise.gradient[1];
    return noise.value;
}

miScalar give(const NoiseSample<3>& noise, miVector* gradient) {
    *gradient = {noise.gradient[0], noise.gradient[1], noise.gradient[2]};
    return noise.value;
}

} // namespace

extern "C" {

DLLEXPORT miScalar mi_noise_1d(miScalar x) {
    return gradientNoise({x}).value;
}

DLLEXPORT miScalar mi_noise_2d(miScalar x, miScalar y) {
    return gradientNoise({x, y}).value;
}

DLLEXPORT miScalar mi_noise_3d(const miVector* p) {
    return noiseAt(*p).value;
}

DLLEXPORT miScalar mi_noise_1d_grad(miScalar x, miScalar* gx) {
    return give(gradientNoise({x}), gx);
}

DLLEXPORT miScalar mi_noise_2d_grad(miScalar x, miScalar y, miScalar* gx, miScalar* gy) {
    return give(gradientNoise({x, y}), gx, gy);
}

DLLEXPORT miScalar mi_noise_3d_grad(const miVector* p, miVector* gradient) {
    return give(noiseAt(*p), gradient);
}

DLLEXPORT miScalar mi_unoise_1d(miScalar x) {
    return unsignedOf(gradientNoise({x})).value;
}

DLLEXPORT miScalar mi_unoise_2d(miScalar x, miScalar y) {
    return unsignedOf(gradientNoise({x, y})).value;
}

DLLEXPORT miScalar mi_unoise_3d(const miVector* p) {
    return unsignedOf(noiseAt(*p)).value;
}

DLLEXPORT miScalar mi_unoise_1d_grad(miScalar x, miScalar* gx) {
    return give(unsignedOf(gradientNoise({x})), gx);
}

DLLEXPORT miScalar mi_unoise_2d_grad(miScalar x, miScalar y, miScalar* gx, miScalar* gy) {
    return give(unsignedOf(gradientNoise({x, y})), gx, gy);
}

DLLEXPORT miScalar mi_unoise_3d_grad(const miVector* p, miVector* gradient) {
    return give(unsignedOf(noiseAt(*p)), gradient);
}

DLLEXPORT miScalar mi_spline(miScalar t, int n, const miScalar* values) {
    return splineThrough({values, static_cast<std::size_t>(std::max(n, 0))}, t);
}

} // extern "C"
