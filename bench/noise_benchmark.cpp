// SPDX-License-Identifier: Apache-2.0
// Nanoseconds per call of the noise and ramp functions. The value noises are compared with bare loops that
// read as many table entries and only add them up: nothing can be faster, so the ratio is the cost of the
// arithmetic.
#include "orcaNoise.h"
#include "orcaRamp.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>

namespace {

/// Pseudo-random points, so that table reads have no pattern that a cache could predict.
struct Points {
    std::array<double, 4096> values;
    Points() {
        std::uint32_t seed = 1;
        for (double& v : values) v = noise_drand(&seed) * 7.0;
    }
    double operator[](std::size_t i) const { return values[i & 4095u]; }
};
const Points points;

template <int Axes>
void bareReads(benchmark::State& state) {
    std::size_t i = 0;
    for (auto _ : state) {
        int cells[3] = {0, 0, 0};
        for (int a = 0; a < Axes; ++a)
            cells[a] = static_cast<int>((points[i + static_cast<std::size_t>(a)] -
                                         static_cast<int>(points[i + static_cast<std::size_t>(a)])) *
                                        32);
        float sum = 0.0f;
        for (int z = 0; z < (Axes > 2 ? 3 : 1); ++z)
            for (int y = 0; y < (Axes > 1 ? 3 : 1); ++y)
                for (int x = 0; x < 3; ++x)
                    sum += NoiseTable[((cells[0] + x) & 31) | ((cells[1] + y) & 31) << 5 |
                                      ((cells[2] + z) & 31) << 10];
        benchmark::DoNotOptimize(sum);
        ++i;
    }
}

template <class Function>
void repeated(benchmark::State& state, const Function& function) {
    std::size_t i = 0;
    for (auto _ : state) {
        auto value = function(i);
        benchmark::DoNotOptimize(value);
        ++i;
    }
}

Ramp fullRamp(int kind, int entries) {
    Ramp ramp{};
    ramp.isColor = 1;
    ramp.count = entries;
    for (int i = 0; i < entries; ++i) {
        ramp.positions[i] = static_cast<float>((i * 7) % entries) / static_cast<float>(entries);
        ramp.colors[i] = {0.1f * static_cast<float>(i % 7), 0.5f, 0.2f, 1.0f};
        ramp.interpolation[i] = kind;
    }
    return ramp;
}

void colorRamp(benchmark::State& state) {
    const Ramp ramp = fullRamp(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    repeated(state, [&](std::size_t i) {
        miColor color{};
        ramp_get_interp_color(static_cast<float>(points[i] / 7.0), &ramp, &color);
        return color.r;
    });
}

} // namespace

BENCHMARK(bareReads<1>);
BENCHMARK_CAPTURE(repeated, noise_scalar_1d, [](std::size_t i) { return noise_scalar_1d(points[i]); });
BENCHMARK(bareReads<2>);
BENCHMARK_CAPTURE(repeated, noise_scalar_2d,
                  [](std::size_t i) { return noise_scalar_2d(points[i], points[i + 1]); });
BENCHMARK_CAPTURE(repeated, noise_vector_2d,
                  [](std::size_t i) { return noise_vector_2d(points[i], points[i + 1]); });
BENCHMARK(bareReads<3>);
BENCHMARK_CAPTURE(repeated, noise_scalar_3d,
                  [](std::size_t i) { return noise_scalar_3d(points[i], points[i + 1], points[i + 2]); });
BENCHMARK_CAPTURE(repeated, noise_scalar_4d, [](std::size_t i) {
    return noise_scalar_4d(64, points[i], points[i + 1], points[i + 2], points[i + 3]);
});
BENCHMARK_CAPTURE(repeated, noise_gradient_3d, [](std::size_t i) {
    static const bool built = [] {
        miState state{};
        mi_init_lock(&state.global_lock);
        noise_gradient_init(&state);
        mi_delete_lock(&state.global_lock);
        return true;
    }();
    benchmark::DoNotOptimize(built);
    return noise_gradient_3d(static_cast<float>(points[i] * 9), static_cast<float>(points[i + 1] * 9),
                             static_cast<float>(points[i + 2] * 9));
});
BENCHMARK(colorRamp)
    ->ArgNames({"kind", "entries"})
    ->ArgsProduct({{RAMP_LINEAR, RAMP_SMOOTH, RAMP_SPLINE}, {4, 50}});

BENCHMARK_MAIN();
