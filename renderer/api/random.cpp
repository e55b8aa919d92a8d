// SPDX-License-Identifier: Apache-2.0
#include "render/context/render_context.h"

#include <shader.h>

#include <cstdint>

namespace {

/// The 48-bit linear congruential generator of drand48 with its classic constants, so that tables made from
/// it are the same everywhere.
constexpr std::uint64_t multiplier = 0x5DEECE66Dull;
constexpr std::uint64_t increment = 0xBull;
constexpr std::uint64_t mask = (1ull << 48) - 1;
constexpr std::uint64_t seedTail = 0x330Eull;

std::uint64_t sharedSequence = seedTail;

std::uint64_t advanced(std::uint64_t x) {
    return (x * multiplier + increment) & mask;
}

/// The upper 24 bits, so that the result is below 1 in single precision.
miScalar uniform(std::uint64_t x) {
    return static_cast<miScalar>(x >> 24) * 0x1p-24f;
}

} // namespace

extern "C" {

DLLEXPORT miBoolean mi_sample(double* sample, int* instance, miState* state, const miUshort dimension,
                              const miUint* n) {
    return orca::render::renderContextOf(state).sampler.loop(sample, instance, dimension, n);
}

DLLEXPORT miScalar mi_random(void) {
    sharedSequence = advanced(sharedSequence);
    return uniform(sharedSequence);
}

DLLEXPORT void mi_srandom(long seed) {
    sharedSequence = ((static_cast<std::uint64_t>(seed) << 16) | seedTail) & mask;
}

DLLEXPORT miScalar mi_par_random(miState* state) {
    orca::render::Sampler& sampler = orca::render::renderContextOf(state).sampler;
    return sampler.coordinate(sampler.nextKey(), 0, 1, 0);
}

DLLEXPORT miScalar mi_erandom(unsigned short seed[3]) {
    std::uint64_t x =
        seed[0] | static_cast<std::uint64_t>(seed[1]) << 16 | static_cast<std::uint64_t>(seed[2]) << 32;
    x = advanced(x);
    for (int i = 0; i < 3; ++i) seed[i] = static_cast<unsigned short>(x >> (16 * i));
    return uniform(x);
}

} // extern "C"
