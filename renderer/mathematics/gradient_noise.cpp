// SPDX-License-Identifier: Apache-2.0
#include "mathematics/gradient_noise.h"

#include <cmath>
#include <cstdint>

namespace orca {

namespace {

/// Mixes all bits (the finalizer of A. Appleby's MurmurHash3).
std::uint32_t mixed(std::uint32_t h) {
    h = (h ^ (h >> 16)) * 0x85ebca6bu;
    h = (h ^ (h >> 13)) * 0xc2b2ae35u;
    return h ^ (h >> 16);
}

/// 2.0 is what no sum of one dimension's gradients within -1..1 exceeds, so that noise stays within -1..1.
void gradientAt(std::uint32_t hash, float (&g)[1]) {
    g[0] = 2.0f * (static_cast<float>(hash >> 8) * 0x1p-23f - 1.0f);
}

/// Of length sqrt(2), to the corners of a square and the middles of its edges.
void gradientAt(std::uint32_t hash, float (&g)[2]) {
    constexpr float r = 1.41421356f;
    constexpr float all[8][2] = {{1, 1}, {-1, 1}, {1, -1}, {-1, -1}, {r, 0}, {-r, 0}, {0, r}, {0, -r}};
    for (int i = 0; i < 2; ++i) g[i] = all[hash & 7][i];
}

/// To the middles of a cube's edges; the first four twice, for an even number.
void gradientAt(std::uint32_t hash, float (&g)[3]) {
    constexpr float l = 1.0f / 1.0364f; // the largest sum of unscaled ones is 1.0364
    constexpr float all[16][3] = {{l, l, 0},  {-l, l, 0},  {l, -l, 0}, {-l, -l, 0}, {l, 0, l},  {-l, 0, l},
                                  {l, 0, -l}, {-l, 0, -l}, {0, l, l},  {0, -l, l},  {0, l, -l}, {0, -l, -l},
                                  {l, l, 0},  {-l, l, 0},  {0, -l, l}, {0, -l, -l}};
    for (int i = 0; i < 3; ++i) g[i] = all[hash & 15][i];
}

template <int n>
NoiseSample<n> noiseAt(const float (&place)[n]) noexcept {
    constexpr float farthest = 1e9f; // cells further off have numbers beyond those of `int`
    std::int32_t cell[n];
    float at[n], fade[n], slope[n];
    for (int i = 0; i < n; ++i) {
        const float whole = std::floor(place[i]);
        at[i] = place[i] - whole;
        cell[i] = std::abs(whole) < farthest ? static_cast<std::int32_t>(whole) : 0;
        const float t = at[i];
        fade[i] = t * t * t * (t * (6.0f * t - 15.0f) + 10.0f);
        slope[i] = 30.0f * t * t * (t * (t - 2.0f) + 1.0f);
    }
    NoiseSample<n> noise{};
    for (int corner = 0; corner < (1 << n); ++corner) {
        std::uint32_t hash = 0;
        float weight = 1.0f;
        for (int i = 0; i < n; ++i) {
            const int upper = corner >> i & 1;
            hash = mixed(hash ^ static_cast<std::uint32_t>(cell[i] + upper)) + 0x9e3779b9u;
            weight *= upper ? fade[i] : 1.0f - fade[i];
        }
        float g[n], along = 0.0f;
        gradientAt(hash, g);
        for (int i = 0; i < n; ++i) along += g[i] * (at[i] - static_cast<float>(corner >> i & 1));
        noise.value += weight * along;
        for (int i = 0; i < n; ++i) {
            float change = corner >> i & 1 ? slope[i] : -slope[i];
            for (int j = 0; j < n; ++j)
                if (j != i) change *= corner >> j & 1 ? fade[j] : 1.0f - fade[j];
            noise.gradient[i] += weight * g[i] + change * along;
        }
    }
    return noise;
}

} // namespace

NoiseSample<1> gradientNoise(const float (&place)[1]) noexcept {
    return noiseAt(place);
}

NoiseSample<2> gradientNoise(const float (&place)[2]) noexcept {
    return noiseAt(place);
}

NoiseSample<3> gradientNoise(const float (&place)[3]) noexcept {
    return noiseAt(place);
}

} // namespace orca
