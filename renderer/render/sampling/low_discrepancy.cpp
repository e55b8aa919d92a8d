// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/low_discrepancy.h"

#include <array>

namespace orca::render {

namespace {

using DirectionNumbers = std::array<std::uint32_t, 32>;

/// Direction numbers from a primitive polynomial (degree and inner coefficients) and its first values, after
/// S. Joe and F. Kuo, "Constructing Sobol sequences with better two-dimensional projections", 2008.
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

/// Sobol points of one dimension for every value of each byte of the index: a point is four look-ups.
using ByteTables = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr ByteTables byteTables(const DirectionNumbers& v) {
    ByteTables tables{};
    for (std::size_t byte = 0; byte < 4; ++byte)
        for (std::uint32_t value = 0; value < 256; ++value)
            for (std::size_t bit = 0; bit < 8; ++bit)
                if ((value >> bit) & 1u) tables[byte][value] ^= v[8 * byte + bit];
    return tables;
}

constexpr std::array<ByteTables, sobolDimensions - 2> sobolTables = {
    byteTables(directionNumbers<2>(1, {1, 3})),
    byteTables(directionNumbers<3>(1, {1, 3, 1})),
};

constexpr std::uint32_t reverseBits(std::uint32_t x) noexcept {
    x = ((x >> 1) & 0x55555555u) | ((x & 0x55555555u) << 1);
    x = ((x >> 2) & 0x33333333u) | ((x & 0x33333333u) << 2);
    x = ((x >> 4) & 0x0f0f0f0fu) | ((x & 0x0f0f0f0fu) << 4);
    return __builtin_bswap32(x);
}

/// A permutation in which every bit is flipped depending on the lower bits only: an Owen scramble of a
/// bit-reversed word (S. Laine and T. Karras, "Stratified Sampling for Stochastic Transparency", 2011,
/// constants by N. Vegdahl, 2021).
constexpr std::uint32_t scrambleUpward(std::uint32_t x, std::uint32_t key) noexcept {
    x ^= x * 0x3d20adeau;
    x += key;
    x *= (key >> 16) | 1u;
    x ^= x * 0x05526c56u;
    x ^= x * 0x53a22864u;
    return x;
}

/// The second dimension, bits reversed: its matrix is Pascal's triangle modulo 2, which acts as sums over
/// supersets of bit positions.
constexpr std::uint32_t reversedSecondDimension(std::uint32_t index) noexcept {
    index ^= (index >> 1) & 0x55555555u;
    index ^= (index >> 2) & 0x33333333u;
    index ^= (index >> 4) & 0x0f0f0f0fu;
    index ^= (index >> 8) & 0x00ff00ffu;
    index ^= index >> 16;
    return index;
}

/// Coordinate of a point before scrambling, bits reversed, which is the scramble's input.
std::uint32_t reversedSobol(std::uint32_t index, int dimension) noexcept {
    if (dimension == 0) return index;
    if (dimension == 1) return reversedSecondDimension(index);
    const ByteTables& tables = sobolTables[static_cast<std::size_t>(dimension - 2)];
    return reverseBits(tables[0][index & 0xffu] ^ tables[1][(index >> 8) & 0xffu] ^
                       tables[2][(index >> 16) & 0xffu] ^ tables[3][index >> 24]);
}

} // namespace

float scrambledSobol(std::uint32_t index, int dimension, std::uint32_t key) noexcept {
    const std::uint32_t shuffled = reverseBits(scrambleUpward(reverseBits(index), mixBits(key)));
    const std::uint32_t bits =
        reverseBits(scrambleUpward(reversedSobol(shuffled, dimension),
                                   mixKeys(key, 0x68bc21ebu + static_cast<std::uint32_t>(dimension))));
    return static_cast<float>(bits >> 8) * 0x1p-24f;
}

} // namespace orca::render
