// SPDX-License-Identifier: Apache-2.0
#include "orcaNoise.h"

#include "orcaConstants.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr double largestCoordinate = 1e9;
constexpr int cellMask = VELA_CUBE_SIDE - 1;
constexpr int yShift = 5;
constexpr int zShift = 10;
constexpr unsigned tableSize = NOISE_TABLE_SIZE;

/// Fractional part in [0, 1); 0 for coordinates beyond 1e9 and NaN.
double fraction(double c) {
    if (!(c >= -largestCoordinate && c <= largestCoordinate)) return 0.0;
    // Truncation and a correction give the floor without a call.
    const double f = c - static_cast<double>(static_cast<long long>(c));
    return f < 0.0 ? f + 1.0 : f;
}

/// Lattice cells around a coordinate along one axis.
struct Cells {
    int before, at, after;
    float t;                                   // position within the middle cell, [0, 1)
    float weightBefore, weightAt, weightAfter; // of twice the quadratic B-spline

    explicit Cells(double coordinate) {
        const double s = fraction(coordinate) * VELA_CUBE_SIDE;
        const int i = static_cast<int>(s);
        t = static_cast<float>(s - i);
        before = (i - 1) & cellMask;
        at = i & cellMask;
        after = (i + 1) & cellMask;
        weightAfter = t * t;
        weightAt = 1.0f + 2.0f * (t - weightAfter);
        weightBefore = 1.0f - 2.0f * t + weightAfter;
    }

    [[nodiscard]] float blend(float p, float c, float n) const {
        return weightBefore * p + weightAt * c + weightAfter * n;
    }
};

/// Twice the uniform quadratic B-spline through three values.
template <class T>
constexpr T blend(T p, T c, T n, T t) {
    return p + c - T(2) * t * (p - c) + t * t * (p - T(2) * c + n);
}

/// Its slope along t.
template <class T>
constexpr T blendSlope(T p, T c, T n, T t) {
    return T(2) * (t * (p - T(2) * c + n) - (p - c));
}

float row(const Cells& x, int rest) {
    return x.blend(NoiseTable[x.before | rest], NoiseTable[x.at | rest], NoiseTable[x.after | rest]);
}

float plane(const Cells& x, const Cells& y, int rest) {
    return y.blend(row(x, y.before << yShift | rest), row(x, y.at << yShift | rest),
                   row(x, y.after << yShift | rest));
}

} // namespace

float noise_table_scalar(int i) {
    // Negated as unsigned: the absolute value of the most negative integer overflows.
    const unsigned magnitude = i < 0 ? 0u - static_cast<unsigned>(i) : static_cast<unsigned>(i);
    return NoiseTable[magnitude % tableSize];
}

miVector noise_table_vector(int i) {
    const auto at = [](unsigned index) { return NoiseTable[index % tableSize]; };
    const auto first = static_cast<unsigned>(i);
    return {at(first), at(first + 1u), at(first + 2u)};
}

float noise_frand(miUint* seed) {
    *seed = (*seed * 25173u + 13849u) & 0xFFFFu;
    return static_cast<float>(*seed) / 65535.0f;
}

double noise_drand(miUint* seed) {
    *seed = (*seed * 25173u + 13849u) & 0xFFFFu;
    return *seed / 65535.0;
}

float noise_scalar_1d(double x) {
    const double s = fraction(x) * VELA_CUBE_SIDE;
    constexpr float amplitude = 0.25f;
    // Intended: the first cell continues the second one's curve backwards, and the last one reads beyond the
    // lattice instead of wrapping.
    if (s < 1.0)
        return amplitude * blend(NoiseTable[0], NoiseTable[1], NoiseTable[2], static_cast<float>(s - 1.0));
    const int i = static_cast<int>(s);
    return amplitude * blend(NoiseTable[i - 1], NoiseTable[i], NoiseTable[i + 1], static_cast<float>(s - i));
}

float noise_scalar_2d(double x, double y) {
    return 0.25f * plane(Cells(x), Cells(y), 0);
}

float noise_scalar_3d(double x, double y, double z) {
    const Cells cx(x), cy(y), cz(z);
    return 0.125f * cz.blend(plane(cx, cy, cz.before << zShift), plane(cx, cy, cz.at << zShift),
                             plane(cx, cy, cz.after << zShift));
}

float noise_scalar_4d(int period, double x, double y, double z, double time) {
    constexpr int longestPeriod = 60000;
    constexpr float hashScale = 21568.16f;
    const double s = fraction(time) * std::min(period, longestPeriod);
    const int step = static_cast<int>(s);
    const float t = static_cast<float>(s - step);
    const float h0 = (noise_table_scalar(step) + 1.0f) * hashScale;
    const float h1 = (noise_table_scalar(step + 1) + 1.0f) * hashScale;
    const float h2 = (noise_table_scalar(step + 2) + 1.0f) * hashScale;
    const auto hashed = [](float product) { return product - std::trunc(product); };
    const auto atTime = [&](int index) {
        const float g = NoiseTable[index] + 2.0f;
        return blend(hashed(h0 * g), hashed(h1 * g), hashed(h2 * g), t);
    };

    const Cells cx(x), cy(y), cz(z);
    const auto timeRow = [&](int rest) {
        return cx.blend(atTime(cx.before | rest), atTime(cx.at | rest), atTime(cx.after | rest));
    };
    const auto timePlane = [&](int rest) {
        return cy.blend(timeRow(cy.before << yShift | rest), timeRow(cy.at << yShift | rest),
                        timeRow(cy.after << yShift | rest));
    };
    return 0.125f * cz.blend(timePlane(cz.before << zShift), timePlane(cz.at << zShift),
                             timePlane(cz.after << zShift));
}

miVector noise_vector_2d(double x, double y) {
    const Cells cx(x), cy(y);
    const auto exact = [](double coordinate) {
        const double s = fraction(coordinate) * VELA_CUBE_SIDE;
        return s - std::floor(s);
    };
    const double tx = exact(x);
    const double ty = exact(y);
    double values[3], slopes[3];
    const int rows[3] = {cy.before << yShift, cy.at << yShift, cy.after << yShift};
    for (int i = 0; i < 3; ++i) {
        const double p = NoiseTable[cx.before | rows[i]];
        const double c = NoiseTable[cx.at | rows[i]];
        const double n = NoiseTable[cx.after | rows[i]];
        values[i] = blend(p, c, n, tx);
        slopes[i] = blendSlope(p, c, n, tx);
    }
    constexpr double amplitude = 0.25;
    return {static_cast<float>(amplitude * blend(slopes[0], slopes[1], slopes[2], ty)),
            static_cast<float>(amplitude * blendSlope(values[0], values[1], values[2], ty)),
            static_cast<float>(amplitude * blend(values[0], values[1], values[2], ty))};
}
