// SPDX-License-Identifier: Apache-2.0
/// Noise and the ocean's waves against second formulations in
/// double precision.
#include "oracle/reference.h"
#include "orcaNoise.h"
#include "orcaOceanWaves.h"
#include "orcaRamp.h"
#include "scripted_renderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

namespace {

using reference::Random;
using reference::V3;

constexpr double pi = 3.14159265358979323846, epsilon = 1e-5;

// --- value noise

/// Weights of the uniform quadratic B-spline over three lattice points, twice
/// over, and the first of them.
struct Cell {
    int first;
    double weight[3], slope[3];

    explicit Cell(double coordinate) {
        const double c = std::abs(coordinate) > 1e9 ? 0.0 : coordinate;
        const double s = (c - std::floor(c)) * 32;
        first = static_cast<int>(s) - 1;
        const double t = s - std::floor(s);
        weight[0] = (1 - t) * (1 - t);
        weight[1] = 1 + 2 * t - 2 * t * t;
        weight[2] = t * t;
        slope[0] = 2 * t - 2;
        slope[1] = 2 - 4 * t;
        slope[2] = 2 * t;
    }
    [[nodiscard]] int index(int k) const { return (first + k) & 31; }
};
double table(int index) {
    return NoiseTable[index];
}
double noise2(double x, double y, bool slopeX = false, bool slopeY = false) {
    const Cell cx(x), cy(y);
    const double *const inX = slopeX ? cx.slope : cx.weight, *const inY = slopeY ? cy.slope : cy.weight;
    double sum = 0;
    for (int i = 0; i < 9; ++i)
        sum += inX[i % 3] * inY[i / 3] * table(cx.index(i % 3) | cy.index(i / 3) << 5);
    return 0.25 * sum;
}
double noise3(double x, double y, double z, const std::function<double(int)>& value = table) {
    const Cell cx(x), cy(y), cz(z);
    double sum = 0;
    for (int i = 0; i < 27; ++i) {
        const int a = i % 3, b = i / 3 % 3, c = i / 9;
        sum += cx.weight[a] * cy.weight[b] * cz.weight[c] *
               value(cx.index(a) | cy.index(b) << 5 | cz.index(c) << 10);
    }
    return 0.125 * sum;
}
/// Hashed in single precision: the fraction of a large product is what its
/// rounding makes it.
double noise4(int period, double x, double y, double z, double time) {
    const double c = std::abs(time) > 1e9 ? 0.0 : time;
    const double s = (c - std::floor(c)) * std::min(period, 60000);
    const int i = static_cast<int>(s);
    const double t = s - i;
    return noise3(x, y, z, [&](int index) {
        double v[3];
        for (int k = 0; k < 3; ++k) {
            const float hash = (NoiseTable[i + k] + 1.0f) * 21568.16f * (NoiseTable[index] + 2.0f);
            v[k] = static_cast<double>(hash) - std::trunc(static_cast<double>(hash));
        }
        return v[0] + v[1] - 2 * t * (v[0] - v[1]) + t * t * (v[0] - 2 * v[1] + v[2]);
    });
}
double gradientNoise(V3 p) {
    double floors[3], f[3], w[3];
    const double c[3] = {p.x, p.y, p.z};
    for (int a = 0; a < 3; ++a) {
        const bool outside = std::abs(c[a]) > 1e9;
        floors[a] = outside ? 0 : std::floor(c[a]);
        f[a] = outside ? 0 : c[a] - floors[a];
        w[a] = f[a] * f[a] * (3 - 2 * f[a]);
    }
    const auto hash = [](int i, int below) { return PermutationArray[(i + below) & 255]; };
    double sum = 0;
    for (int corner = 0; corner < 8; ++corner) {
        const int o[3] = {corner & 1, corner >> 1 & 1, corner >> 2};
        int h = 0;
        for (int a = 2; a >= 0; --a) h = hash(static_cast<int>(floors[a]) + o[a], h);
        const V3 gradient = gradientNoiseTable[h];
        double weight = 1;
        for (int a = 0; a < 3; ++a) weight *= o[a] ? w[a] : 1 - w[a];
        sum += weight * dot(gradient, {f[0] - o[0], f[1] - o[1], f[2] - o[2]});
    }
    return sum;
}

TEST(Noise, MatchesTheReference) {
    ScriptedRenderer renderer;
    gradientNoiseTable = nullptr;
    noise_gradient_init(&renderer.state);
    Random random(11);
    for (int i = 0; i < 1500; ++i) {
        SCOPED_TRACE(i);
        double c[4];
        for (double& v : c)
            v = random.chance(0.03f)  ? 3e9
                : random.chance(0.1f) ? random.below(9) / 4.0 - 1
                                      : static_cast<double>(random.in(-6.0f, 6.0f));
        const int period = random.chance(0.1f) ? 65000 : 1 + random.below(500);
        EXPECT_NEAR(noise_scalar_2d(c[0], c[1]), noise2(c[0], c[1]), 1e-5);
        EXPECT_NEAR(noise_scalar_3d(c[0], c[1], c[2]), noise3(c[0], c[1], c[2]), 1e-5);
        EXPECT_NEAR(noise_scalar_4d(period, c[0], c[1], c[2], c[3]), noise4(period, c[0], c[1], c[2], c[3]),
                    1e-5);
        const miVector v = noise_vector_2d(c[0], c[1]);
        EXPECT_NEAR(v.x, noise2(c[0], c[1], true, false), 1e-5);
        EXPECT_NEAR(v.y, noise2(c[0], c[1], false, true), 1e-5);
        EXPECT_NEAR(v.z, noise2(c[0], c[1]), 1e-5);
        const miVector p{static_cast<float>(c[0]), static_cast<float>(c[1]), static_cast<float>(c[2])};
        EXPECT_NEAR(noise_gradient_3d(p.x, p.y, p.z), gradientNoise(p), 1e-5);
    }
    gradientNoiseTable = nullptr; // the scripted renderer takes its memory along
}

// --- waves

struct Sea {
    double time, patternScale, windX, windZ, drift, spread, octaves, shortest, longest;
    double height[2], turbulence[2],
        peaking[2]; ///< at the shortest and the longest wavelength
    double foamRate, foamCutoff, filter;
};

double speed(double wavelength) {
    return std::sqrt(wavelength * 0.5 * 9.81 / pi);
}
struct Group16 {
    double height = 0, slopeX = 0, slopeZ = 0;
};
Group16 turbulence(double x, double z, double time, double longest, double shortest, int seed) {
    Group16 g;
    double wavelength = std::max(1e-6, longest);
    for (int i = 0; i < 16; ++i, seed += 3, wavelength *= std::exp(std::log(shortest / longest) / 15)) {
        double a = table(seed), b = table(seed + 1);
        const double size = std::sqrt(a * a + b * b);
        if (size < epsilon) continue;
        a /= size;
        b /= size;
        const double travel = time * speed(wavelength);
        const double angle =
            2 * pi * ((a * (x + a * travel) + b * (z + b * travel)) / wavelength + table(seed + 2));
        g.height += 0.25 * std::cos(angle) * wavelength;
        g.slopeX -= 0.25 * a * std::sin(angle) * 2 * pi / wavelength;
        g.slopeZ -= 0.25 * b * std::sin(angle) * 2 * pi / wavelength;
    }
    return g;
}

struct Waves {
    double height = 0, foam = 0;
};
Waves waves(const Sea& sea, double x, double z) {
    const double scale = std::max(sea.patternScale, 1e-4);
    const double shortest = std::max(epsilon, std::min(sea.shortest, sea.longest));
    const double longest = std::max(epsilon, std::max(sea.shortest, sea.longest));
    const double octaves = sea.octaves - epsilon;
    const double ratio = octaves > epsilon ? std::pow(shortest / longest, 1 / octaves) : shortest / longest;
    const int n = static_cast<int>(octaves + 1);
    Waves out;
    if (n <= 0) return out;
    const bool foamy = sea.foamRate > epsilon;
    const double k = sea.spread > 1 ? 0 : (1 - sea.spread) * 0.7;
    double px = x * scale, pz = z * scale, wavelength = longest, crest = 1, windX = sea.windX,
           windZ = sea.windZ;
    int seed = 1;
    for (int i = 0; i < n; ++i, wavelength *= ratio) {
        const double t = longest - shortest >= epsilon ? (wavelength - shortest) / (longest - shortest)
                         : n == 1                      ? 0
                                                       : double(i) / (n - 1);
        const auto along = [&](const double(&ends)[2]) {
            return ends[0] + (ends[1] - ends[0]) * std::clamp(t, 0.0, 1.0);
        };
        double amplitude = along(sea.height) * 0.125 / scale;
        if (i == n - 1) amplitude *= octaves - i;
        const double turbulent = along(sea.turbulence), peak = along(sea.peaking), c = speed(wavelength);
        const double lag = foamy ? 0.08 * c : 0, d = c * sea.time;
        double dx = windX, dz = windZ, ox = 0, oz = 0;
        if (i == 0) {
            const double size = std::hypot(dx, dz);
            if (size > epsilon) {
                windX = dx /= size;
                windZ = dz /= size;
                ox = d * dx;
                oz = d * dz;
                px -= ox * sea.drift;
                pz -= oz * sea.drift;
            }
        } else {
            const double r[4] = {table(seed), table(seed + 1), table(seed + 2), table(seed + 3)};
            seed += 4;
            dx += sea.spread * (r[2] - dx);
            dz += sea.spread * (r[3] - dz);
            const double size = std::hypot(dx, dz);
            ox = r[0];
            oz = r[1];
            if (size > epsilon) {
                dx /= size;
                dz /= size;
                ox = d * dx;
                oz = d * dz;
            }
        }
        double height = 0, crestHeight = 0;
        if (turbulent > epsilon) {
            const double qx = px + ox * k, qz = pz + oz * k;
            const auto group = [&](double atX, double atZ, double time) {
                return turbulence(atX, atZ, time, wavelength, 0.8 * wavelength, seed);
            };
            Group16 g = group(qx, qz, sea.time);
            double h = g.height, shift = 0;
            const double gx = g.slopeX * 0.1 * wavelength, gz = g.slopeZ * 0.1 * wavelength;
            if (peak != 0) {
                const double size = std::hypot(gx, gz), f = (h / wavelength + 2) * 0.25;
                if (size > 0 && f > 0) shift = f * 0.15 * peak * wavelength / std::sqrt(size);
            }
            const bool moved = shift > epsilon;
            const double sx = moved ? shift * gx : 0, sz = moved ? shift * gz : 0;
            if (moved) h = group(qx - sx, qz - sz, sea.time).height;
            height = turbulent * h;
            if (foamy) crestHeight = turbulent * group(qx - sx, qz - sz, sea.time - lag).height;
            px -= 0.8 * sx;
            pz -= 0.8 * sz;
            seed += 33;
        }
        if (turbulent < 1) {
            const auto plain = [&](double back) {
                return (1 - turbulent) * wavelength *
                       std::cos(2 * pi * (dx * (px + ox - back * dx) + dz * (pz + oz - back * dz)) /
                                wavelength);
            };
            height += plain(0);
            if (foamy) crestHeight += plain(lag);
        }
        out.height += height * amplitude;
        if (!foamy) continue;
        const double sharp = sea.filter < epsilon ? 1 : std::min(1.0, wavelength / (2 * sea.filter));
        const double a = amplitude * scale;
        const double lagging = (crestHeight * a / wavelength + 0.25) * 2 * crest;
        const double now = (height * a / wavelength + 0.25) * 2 * crest;
        crest *= 0.96;
        const auto rise = [](double above, double over) { return above > over ? 1 : above / over; };
        const double threshold = 1 - sea.foamCutoff;
        if (lagging > threshold) out.foam += 4 * sharp * rise(lagging - threshold, 0.2 / sea.foamRate);
        if (now > threshold + 0.05) out.foam += sharp * rise(now - threshold - 0.05, 0.1 / sea.foamRate);
        if (out.foam > epsilon) {
            const double s = 4.0 / 32 / wavelength;
            const double broken = std::abs(noise3(s * (px + ox * k), s * (pz + oz * k), s * (d + 0.4)));
            out.foam = std::max(0.0, out.foam - (sharp * 0.8 * broken + (1 - sharp) * 0.15));
        }
    }
    out.foam *= 0.5;
    return out;
}

TEST(OceanWaves, MatchTheReference) {
    Random random(12);
    int foaming = 0, peaking = 0;
    for (int i = 0; i < 600; ++i) {
        SCOPED_TRACE(i);
        Sea sea{};
        sea.time = random.in(0.0f, 5.0f);
        sea.patternScale = random.chance(0.1f) ? -1.0f : random.in(0.3f, 3.0f);
        if (!random.chance(0.1f)) sea.windX = random.in(-2.0f, 2.0f), sea.windZ = random.in(-2.0f, 2.0f);
        sea.drift = random.chance(0.5f) ? random.in(0.0f, 1.0f) : 0.0f;
        sea.spread = random.chance(0.3f) ? random.in(1.0f, 1.6f) : random.in(0.0f, 1.0f);
        sea.octaves = random.chance(0.2f) ? static_cast<float>(random.below(4)) : random.in(0.0f, 4.5f);
        sea.longest = random.in(2.0f, 6.0f);
        sea.shortest = random.chance(0.2f) ? sea.longest : static_cast<double>(random.in(0.6f, 3.0f));
        for (double* ramp : {sea.height, sea.turbulence, sea.peaking})
            for (int k = 0; k < 2; ++k) ramp[k] = random.in(0.0f, 1.0f);
        if (random.chance(0.3f)) std::fill(sea.turbulence, sea.turbulence + 2, random.below(2));
        if (random.chance(0.4f)) std::fill(sea.peaking, sea.peaking + 2, 0.0);
        sea.foamRate = random.chance(0.6f) ? random.in(0.2f, 1.0f) : 0.0f;
        sea.foamCutoff = random.in(0.3f, 0.9f);
        sea.filter = random.chance(0.5f) ? random.in(0.0f, 4.0f) : 0.0f;
        const float x = random.in(-5.0f, 5.0f), z = random.in(-5.0f, 5.0f);

        Ramp ramps[3]{};
        const double* const ends[] = {sea.height, sea.turbulence, sea.peaking};
        for (int r = 0; r < 3; ++r) {
            ramps[r].count = 2;
            ramps[r].positions[1] = 1.0f;
            for (int k = 0; k < 2; ++k) {
                ramps[r].scalars[k] = static_cast<float>(ends[r][k]);
                ramps[r].interpolation[k] = RAMP_LINEAR;
            }
        }
        const auto f = [](double v) { return static_cast<float>(v); };
        float scale = f(sea.patternScale), low = f(sea.shortest), high = f(sea.longest),
              octaves = f(sea.octaves);
        float ratio = 0.0f, height = -9.0f, foam = -9.0f;
        if (random.chance(0.2f)) std::swap(low, high);
        const miVector wind{f(sea.windX), f(sea.windZ), 0.0f};
        ocean_prepare(scale, low, high, octaves, ratio);
        ocean_compute(x, z, f(sea.time), &height, &foam, scale, &wind, f(sea.drift), f(sea.spread), octaves,
                      low, high, &ramps[0], &ramps[1], &ramps[2], f(sea.foamRate), f(sea.foamCutoff), ratio,
                      f(sea.filter));
        float slopeX = 0.0f, slopeZ = 0.0f;
        const float group = ocean_water_turbulence(x, z, f(sea.time), high, low, i, &slopeX, &slopeZ);
        const Group16 waveGroup = turbulence(x, z, sea.time, high, low, i);
        EXPECT_NEAR(group, waveGroup.height, 2e-3);
        EXPECT_NEAR(slopeX, waveGroup.slopeX, 5e-3);
        EXPECT_NEAR(slopeZ, waveGroup.slopeZ, 5e-3);
        EXPECT_EQ(ocean_water_turbulence(x, z, f(sea.time), high, low, i, nullptr, nullptr), group);
        const Waves expected = waves(sea, x, z);
        // Heights scale with the pattern; small phases of large products are what
        // rounding leaves.
        EXPECT_NEAR(height * scale, expected.height * scale, 2e-3);
        EXPECT_NEAR(foam, expected.foam, 2e-2);
        foaming += expected.foam > 0.05;
        peaking += sea.peaking[0] > 0 && sea.turbulence[0] > 0;
    }
    EXPECT_GT(foaming, 60);
    EXPECT_GT(peaking, 100);
}

} // namespace
