// SPDX-License-Identifier: Apache-2.0
#include "orcaGradientNoise.h"

#include "orcaNoiseTable.h"

#include <atomic>
#include <cmath>
#include <numbers>

miVector* gradientNoiseTable = nullptr;

namespace {

/// Threads that read while another builds see either nothing or the whole table.
std::atomic_ref<miVector*> table() {
    return std::atomic_ref<miVector*>(gradientNoiseTable);
}

class HostLock {
public:
    explicit HostLock(miLock lock) : lock_(lock) { mi_lock(lock_); }
    ~HostLock() { mi_unlock(lock_); }
    HostLock(const HostLock&) = delete;
    HostLock& operator=(const HostLock&) = delete;

private:
    miLock lock_;
};

/// Lattice cell, place in it, and smooth weight of the far corner, along one axis.
struct Axis {
    int cell = 0;
    float offset = 0.0f;
    float fade = 0.0f;

    explicit Axis(float c) {
        constexpr float largest = 1e9f;
        if (!(c >= -largest && c <= largest)) return;
        const float whole = std::floor(c);
        cell = static_cast<int>(whole);
        offset = c - whole;
        fade = offset * offset * (3.0f - 2.0f * offset);
    }
};

int hashed(int ix, int iy, int iz) {
    constexpr int mask = 255;
    const int z = PermutationArray[iz & mask];
    const int y = PermutationArray[(iy + z) & mask];
    return PermutationArray[(ix + y) & mask];
}

float mixed(float a, float b, float weight) {
    return a + weight * (b - a);
}

} // namespace

void noise_gradient_init(miState* state) {
    const HostLock lock(state->global_lock);
    if (table().load(std::memory_order_relaxed)) return;
    auto* const vectors = static_cast<miVector*>(
        mi_mem_int_allocate("orcaNoise", 1, NOISE_TABLE_SIZE * static_cast<int>(sizeof(miVector))));
    if (!vectors) return;
    mi_srandom(1);
    for (int i = 0; i < NOISE_TABLE_SIZE; ++i) {
        // Archimedes: equal heights cut equal areas from a sphere.
        const float z = 1.0f - 2.0f * mi_random();
        const float r = std::sqrt(1.0f - z * z);
        const double phi = mi_random() * (2.0 * std::numbers::pi);
        vectors[i] = {r * static_cast<float>(std::cos(phi)), r * static_cast<float>(std::sin(phi)), z};
    }
    table().store(vectors, std::memory_order_release);
}

float noise_gradient_3d(float x, float y, float z) {
    const miVector* const gradients = table().load(std::memory_order_acquire);
    if (!gradients) return 0.0f;
    const Axis ax(x), ay(y), az(z);
    const auto corner = [&](int dx, int dy, int dz) {
        const miVector& gradient = gradients[hashed(ax.cell + dx, ay.cell + dy, az.cell + dz)];
        return gradient.x * (ax.offset - static_cast<float>(dx)) +
               gradient.y * (ay.offset - static_cast<float>(dy)) +
               gradient.z * (az.offset - static_cast<float>(dz));
    };
    const auto alongX = [&](int dy, int dz) { return mixed(corner(0, dy, dz), corner(1, dy, dz), ax.fade); };
    const auto alongY = [&](int dz) { return mixed(alongX(0, dz), alongX(1, dz), ay.fade); };
    return mixed(alongY(0), alongY(1), az.fade);
}
