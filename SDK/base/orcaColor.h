// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Colour arithmetic, on all four channels alike unless a comment says otherwise.

#include "orcaConstants.h"

#include <shader.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

[[nodiscard]] constexpr miColor operator+(const miColor& a, const miColor& b) noexcept {
    return {a.r + b.r, a.g + b.g, a.b + b.b, a.a + b.a};
}
[[nodiscard]] constexpr miColor operator-(const miColor& a, const miColor& b) noexcept {
    return {a.r - b.r, a.g - b.g, a.b - b.b, a.a - b.a};
}
[[nodiscard]] constexpr miColor operator*(const miColor& a, const miColor& b) noexcept {
    return {a.r * b.r, a.g * b.g, a.b * b.b, a.a * b.a};
}
[[nodiscard]] constexpr miColor operator*(const miColor& a, miScalar f) noexcept {
    return {a.r * f, a.g * f, a.b * f, a.a * f};
}
[[nodiscard]] constexpr miColor operator/(const miColor& a, miScalar f) noexcept {
    return {a.r / f, a.g / f, a.b / f, a.a / f};
}
[[nodiscard]] constexpr miColor operator*(miScalar f, const miColor& a) noexcept {
    return a * f;
}
constexpr miColor& operator+=(miColor& a, const miColor& b) noexcept {
    return a = a + b;
}
constexpr miColor& operator*=(miColor& a, const miColor& b) noexcept {
    return a = a * b;
}
constexpr miColor& operator*=(miColor& a, miScalar f) noexcept {
    return a = a * f;
}

[[nodiscard]] constexpr miScalar luminance(const miColor& c) noexcept {
    return VELA_LUMINANCE_RED * c.r + VELA_LUMINANCE_GREEN * c.g + VELA_LUMINANCE_BLUE * c.b;
}
/// The colour with another alpha.
[[nodiscard]] constexpr miColor withAlpha(const miColor& c, miScalar alpha) noexcept {
    return {c.r, c.g, c.b, alpha};
}
/// Largest of red, green and blue.
[[nodiscard]] constexpr miScalar largestChannel(const miColor& c) noexcept {
    return std::max({c.r, c.g, c.b});
}
/// True when red, green and blue are zero.
[[nodiscard]] constexpr bool isBlack(const miColor& c) noexcept {
    return c.r == 0.0f && c.g == 0.0f && c.b == 0.0f;
}
/// True when alpha is zero too. Two tests of bits, either sign of zero included, instead of four of numbers.
[[nodiscard]] inline bool isZero(const miColor& c) noexcept {
    constexpr std::uint64_t magnitudes = 0x7fffffff7fffffffu;
    std::uint64_t words[2];
    static_assert(sizeof words == sizeof c);
    std::memcpy(words, &c, sizeof words);
    return ((words[0] | words[1]) & magnitudes) == 0;
}
/// True when red, green and blue are all below the limit.
[[nodiscard]] constexpr bool allBelow(const miColor& c, miScalar limit) noexcept {
    return c.r < limit && c.g < limit && c.b < limit;
}
/// True when any of red, green and blue exceeds the limit.
[[nodiscard]] constexpr bool anyAbove(const miColor& c, miScalar limit) noexcept {
    return c.r > limit || c.g > limit || c.b > limit;
}
/// (1 - t) a + t b in red, green and blue, with a share per channel; alpha of b.
[[nodiscard]] constexpr miColor blended(const miColor& a, const miColor& b, const miColor& t) noexcept {
    return {(1.0f - t.r) * a.r + t.r * b.r, (1.0f - t.g) * a.g + t.g * b.g, (1.0f - t.b) * a.b + t.b * b.b,
            b.a};
}
