// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace orca::render {

/// Scrambles the bits of a word so that every output bit depends on every input bit (a bijection).
[[nodiscard]] constexpr std::uint32_t mixBits(std::uint32_t x) noexcept {
    // Constants: C. Wellons, "Prospecting for Hash Functions", 2018 (lowbias32).
    x ^= x >> 16;
    x *= 0x7feb352du;
    x ^= x >> 15;
    x *= 0x846ca68bu;
    x ^= x >> 16;
    return x;
}

[[nodiscard]] constexpr std::uint32_t mixKeys(std::uint32_t a, std::uint32_t b) noexcept {
    return mixBits(a ^ (mixBits(b) + 0x9e3779b9u + (a << 6) + (a >> 2)));
}

inline constexpr int sobolDimensions = 4;

/// Point `index` of a Sobol sequence of up to `sobolDimensions` dimensions whose points and order are
/// scrambled by `key`, in [0, 1). Every key gives a (0, 2)-sequence in its first two dimensions; different
/// keys are independent. After B. Burley, "Practical Hash-based Owen Scrambling", 2020.
[[nodiscard]] float scrambledSobol(std::uint32_t index, int dimension, std::uint32_t key) noexcept;

} // namespace orca::render
