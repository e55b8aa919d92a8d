// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Arithmetic of the reference models, in double precision and with nothing of the library behind it, and the
/// deterministic numbers that their cases are drawn from.

#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

namespace reference {

struct Rgba {
    double r = 0, g = 0, b = 0, a = 0;

    constexpr Rgba() = default;
    constexpr Rgba(double red, double green, double blue, double alpha)
        : r(red), g(green), b(blue), a(alpha) {}
    constexpr Rgba(const miColor& c) : r(c.r), g(c.g), b(c.b), a(c.a) {}
    [[nodiscard]] miColor single() const {
        return {static_cast<float>(r), static_cast<float>(g), static_cast<float>(b), static_cast<float>(a)};
    }
};
constexpr Rgba operator+(Rgba x, Rgba y) {
    return {x.r + y.r, x.g + y.g, x.b + y.b, x.a + y.a};
}
constexpr Rgba operator-(Rgba x, Rgba y) {
    return {x.r - y.r, x.g - y.g, x.b - y.b, x.a - y.a};
}
constexpr Rgba operator*(Rgba x, Rgba y) {
    return {x.r * y.r, x.g * y.g, x.b * y.b, x.a * y.a};
}
constexpr Rgba operator*(Rgba x, double f) {
    return {x.r * f, x.g * f, x.b * f, x.a * f};
}
constexpr Rgba grey(double v) {
    return {v, v, v, v};
}
constexpr Rgba rgbWith(Rgba x, double alpha) {
    return {x.r, x.g, x.b, alpha};
}
constexpr double luminance(Rgba x) {
    return 0.30 * x.r + 0.59 * x.g + 0.11 * x.b;
}
constexpr Rgba larger(Rgba x, Rgba y) {
    return {std::max(x.r, y.r), std::max(x.g, y.g), std::max(x.b, y.b), std::max(x.a, y.a)};
}
constexpr double largest(Rgba x) {
    return std::max(x.r, std::max(x.g, x.b));
}

struct V3 {
    double x = 0, y = 0, z = 0;

    constexpr V3() = default;
    constexpr V3(double vx, double vy, double vz) : x(vx), y(vy), z(vz) {}
    constexpr V3(const miVector& v) : x(v.x), y(v.y), z(v.z) {}
    [[nodiscard]] miVector single() const {
        return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
    }
};
constexpr V3 operator+(V3 a, V3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr V3 operator-(V3 a, V3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr V3 operator*(V3 a, double f) {
    return {a.x * f, a.y * f, a.z * f};
}
constexpr double dot(V3 a, V3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
constexpr V3 cross(V3 a, V3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double length(V3 a) {
    return std::sqrt(dot(a, a));
}
inline V3 unit(V3 a) {
    return a * (1.0 / length(a));
}

/// Turns the renderer's camera a quarter about z, its object half a turn about y, and exchanges the world's
/// axes. The camera is `distance` in front of the origin.
inline void turnSpaces(ScriptedRenderer& renderer, float distance = 0.0f) {
    const miMatrix toCamera{0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, -distance, 1};
    const miMatrix toObject{-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1};
    const miMatrix toWorld{0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1};
    mi_matrix_copy(renderer.internalToCamera, toCamera);
    mi_matrix_copy(renderer.internalToObject, toObject);
    mi_matrix_copy(renderer.internalToWorld, toWorld);
}
/// A direction in these spaces: 1 the camera's, 2 the object's, else the world's.
constexpr V3 inTurned(unsigned space, V3 n) {
    return space == 1 ? V3{n.y, -n.x, n.z} : space == 2 ? V3{-n.x, n.y, -n.z} : V3{n.z, n.x, n.y};
}

/// Digits of n in a base, mirrored at the point (van der Corput, 1935).
inline double radicalInverse(std::size_t n, std::size_t base) {
    double value = 0, digit = 1.0 / static_cast<double>(base);
    for (; n > 0; n /= base, digit /= static_cast<double>(base))
        value += digit * static_cast<double>(n % base);
    return value;
}

/// Equal numbers for equal seeds on every machine (Steele, Lea and Flood, "Fast Splittable Pseudorandom
/// Number Generators", 2014).
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15u);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    float in(float from, float to) {
        return from + (to - from) * static_cast<float>(static_cast<double>(next() >> 40) * 0x1p-24);
    }
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }
    bool chance(float share) { return in(0.0f, 1.0f) < share; }
    miColor color(float from = 0.0f, float to = 1.0f) {
        const float r = in(from, to), g = in(from, to), b = in(from, to);
        return {r, g, b, in(from, to)};
    }
    miVector direction() {
        for (;;) {
            const float x = in(-1.0f, 1.0f), y = in(-1.0f, 1.0f);
            const V3 v{x, y, in(-1.0f, 1.0f)};
            if (length(v) > 0.1 && length(v) < 1.0) return unit(v).single();
        }
    }

private:
    std::uint64_t state_;
};

/// Within single precision's rounding over a whole shading call.
inline bool agrees(double actual, double expected, double tolerance = 2e-4) {
    return std::abs(actual - expected) <= tolerance * (1.0 + std::abs(expected));
}
inline bool agrees(const miColor& actual, const Rgba& expected, double tolerance = 2e-4) {
    return agrees(actual.r, expected.r, tolerance) && agrees(actual.g, expected.g, tolerance) &&
           agrees(actual.b, expected.b, tolerance) && agrees(actual.a, expected.a, tolerance);
}
inline std::ostream& operator<<(std::ostream& out, const Rgba& c) {
    return out << '(' << c.r << ", " << c.g << ", " << c.b << ", " << c.a << ')';
}
inline void expectNear(const miColor& actual, const Rgba& wanted, const std::string& what,
                       double tolerance = 2e-4) {
    EXPECT_TRUE(agrees(actual, wanted, tolerance))
        << what << ": " << Rgba(actual) << " instead of " << wanted;
}

} // namespace reference
