// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orca {

/// Noise at a place: its value and its change per unit along each axis.
template <int dimensions>
struct NoiseSample {
    float value;
    float gradient[dimensions];
};

/// Gradient noise, from -1 to 1 (K. Perlin, "Improving Noise", 2002). Places so far off that numbers have no
/// fraction are 0.
[[nodiscard]] NoiseSample<1> gradientNoise(const float (&place)[1]) noexcept;
[[nodiscard]] NoiseSample<2> gradientNoise(const float (&place)[2]) noexcept;
[[nodiscard]] NoiseSample<3> gradientNoise(const float (&place)[3]) noexcept;

} // namespace orca
