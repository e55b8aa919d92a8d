// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstring>

/// The four channels of a colour in one register, for loops over records: the compiler takes a colour that it
/// has computed apart into its channels, and would put it together again for every record. Arithmetic is that
/// of the channels, to the bit.
using ColorLanes = miScalar __attribute__((vector_size(sizeof(miColor))));

/// Of a colour that has just been computed.
[[nodiscard]] inline ColorLanes lanesOf(const miColor& c) noexcept {
    return ColorLanes{c.r, c.g, c.b, c.a};
}
/// Of a colour in memory.
[[nodiscard]] inline ColorLanes loaded(const miColor& c) noexcept {
    ColorLanes lanes;
    std::memcpy(&lanes, &c, sizeof lanes);
    return lanes;
}
inline void store(miColor& c, ColorLanes lanes) noexcept {
    std::memcpy(&c, &lanes, sizeof lanes);
}
