// SPDX-License-Identifier: Apache-2.0
#include "render/low_discrepancy.h"

#include <array>

namespace orca::render {

namespace {

using DirectionNumbers = std::array<std::uint32_t, 32>;

/// Direction numbers from a primitive polynomial (degree and inner coefficients) and its first values, after S. Joe and
/// F. Kuo, "Constructing Sobol sequences with better two-dimensional projections", 2008.
template <std::size_t Degree>
constexpr DirectionNumbers directionNumbers(std::uint32_t coefficients,
                                            const std::array<std::uint32_t, Degree>& first) {
    DirectionNumbers v{};
    for (std::size_t i = 0; i < Degree; ++i) v[i] = first[i] << (31 - i);
    for (std::size_t i = Degree; i < 32; ++i) {
        v[i] = v[i - Degree] ^ (v[i - Degree] >> Degree);
        for (std::size_t k = 1; k < Degree; ++k)
            if ((coefficients >> (Degree - 1 - k)) & 1u) v[i] ^= v[i - k];
    }
    return v;
}

constexpr std::array<DirectionNumbers, sobolDimensions - 1> sobolMatrices = {
    directionNumbers<1>(0, {1}),
    directionNumbers<2>(1, {1, 3}),
    directionNumbers<3>(1, {1, 3, 1}),
};

constexpr std::uint32_t reverseBits(std::uint32_t x) noexcept {
    x = ((x >> 1) & 0x55555555u) | ((x & 0x55555555u) << 1);
    x = ((x >> 2) & 0x33333333u) | ((x & 0x33333333u) << 2);
    x = ((x >> 4) & 0x0f0f0f0fu) | ((x & 0x0f0f0f0fu) << 4);
    return __builtin_bswap32(x);
}

/// A permutation in which every bit is flipped depending on the lower bits only: an Owen scramble of a bit-reversed
/// word (S. Laine and T. Karras, "Stratified Sampling for Stochastic Transparency", 2011, constants by N. Vegdahl, 2021).
constexpr std::uint32_t scrambleUpward(std::uint32_t x, std::uint32_t key) noexcept {
    x ^= x * 0x3d20adeau;
    x += key;
    x *= (key >> 16) | 1u;
    x ^= x * 0x05526c56u;
    x ^= x * 0x53a22864u;
    return x;
}

constexpr std::uint32_t owenScramble(std::uint32_t x, std::uint32_t key) noexcept {
    return reverseBits(scrambleUpward(reverseBits(x), key));
}

constexpr std::uint32_t sobol(std::uint32_t index, int dimension) noexcept {
    if (dimension == 0) return reverseBits(index);
    const DirectionNumbers& v = sobolMatrices[static_cast<std::size_t>(dimension - 1)];
    std::uint32_t x = 0;
    for (int bit = 0; index != 0; index >>= 1, ++bit)
        if (index & 1u) x ^= v[static_cast<std::size_t>(bit)];
    return x;
}

} // namespace

float scrambledSobol(std::uint32_t index, int dimension, std::uint32_t key) noexcept {
    const std::uint32_t shuffled = owenScramble(index, mixBits(key));
    const std::uint32_t bits =
        owenScramble(sobol(shuffled, dimension), mixKeys(key, 0x68bc21ebu + static_cast<std::uint32_t>(dimension)));
    return static_cast<float>(bits >> 8) * 0x1p-24f;
}

} // namespace orca::render
