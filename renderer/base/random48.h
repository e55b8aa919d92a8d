// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <random>

namespace orca {

/// The 48-bit linear congruential generator of drand48 with its classic constants, so that tables made from
/// it are the same everywhere.
class Random48 {
public:
    /// As srand48: the seed's lower 32 bits above a fixed tail.
    explicit Random48(long seed) : engine_(((static_cast<std::uint64_t>(seed) << 16) | 0x330Eu) % modulus) {}

    /// In [0, 1).
    [[nodiscard]] float next() { return uniform(engine_()); }
    /// As erand48: one step of a sequence whose 48 bits the caller keeps, 16 an entry, lowest first.
    [[nodiscard]] static float next(unsigned short* state) {
        Engine engine(state[0] | std::uint64_t{state[1]} << 16 | std::uint64_t{state[2]} << 32);
        const std::uint64_t bits = engine();
        for (int i = 0; i < 3; ++i) state[i] = static_cast<unsigned short>(bits >> (16 * i));
        return uniform(bits);
    }

private:
    static constexpr std::uint64_t modulus = 1ull << 48;
    using Engine = std::linear_congruential_engine<std::uint64_t, 0x5DEECE66Dull, 0xBull, modulus>;

    /// The upper 24 bits, so that the result is below 1 in single precision.
    static float uniform(std::uint64_t bits) { return static_cast<float>(bits >> 24) * 0x1p-24f; }

    Engine engine_;
};

} // namespace orca
