// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaConstants.h"
#include "orcaNoise.h"

#include <algorithm>

/// Octaves of value noise, normalised to (-1, 1) (B. Mandelbrot's fractional Brownian motion, as in D. Ebert
/// et al., "Texturing and Modeling", 1994).
/// @param frequency  cells per unit of the coordinates
/// @param octaves    1 to 16; others are limited to that
/// @param lacunarity frequency of an octave over that of the one before
/// @param gain       strength of an octave over that of the one before
[[nodiscard]] inline float fractalNoise(const miVector& p, float frequency, int octaves, float lacunarity,
                                        float gain) {
    constexpr int mostOctaves = 16;
    double scale = static_cast<double>(frequency) / VELA_CUBE_SIDE;
    float strength = 1.0f;
    float sum = 0.0f;
    float total = 0.0f;
    for (int i = 0; i < std::clamp(octaves, 1, mostOctaves); ++i) {
        sum += strength * noise_scalar_3d(p.x * scale, p.y * scale, p.z * scale);
        total += strength;
        scale *= static_cast<double>(lacunarity);
        strength *= gain;
    }
    return total > 0.0f ? sum / total : 0.0f;
}
