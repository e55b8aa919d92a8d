// SPDX-License-Identifier: Apache-2.0
// Nanoseconds per step of a march through media: ones whose density costs nothing to ask for, which leaves
// the march itself, and ones of noise, of which the march should be the smaller part.
#include "orcaColor.h"
#include "orcaFractalNoise.h"
#include "orcaVolumeMarch.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>

namespace {

/// A box of 10 along the ray.
class Medium : public VolumePrimitive {
public:
    Medium(bool isHomogeneous, int octaves) : octaves_(octaves) {
        homogeneous = isHomogeneous;
        detail = 0.1f;
    }
    bool next(const VolumeRay&, miScalar after, VolumeSpan& span) const override {
        span = {0.0f, 10.0f};
        return after < span.to;
    }
    VolumeSample at(const VolumeRay& ray, miScalar distance) const override {
        const float density =
            octaves_ == 0 ? 0.1f : std::max(0.0f, fractalNoise(ray.at(distance), 1.0f, octaves_, 2.0f, 0.5f));
        return {WHITE * density, BLACK, BLACK};
    }

private:
    int octaves_;
};

/// @param state range 0: media; 1: octaves of their noise, -1 for homogeneous ones
void march(benchmark::State& state) {
    VolumeSet set;
    const auto octaves = static_cast<int>(state.range(1));
    for (std::int64_t i = 0; i < state.range(0); ++i) set.add<Medium>(octaves < 0, std::max(0, octaves));
    constexpr MarchSettings settings{0.0f, 0.02f};
    std::int64_t steps = 0;
    float jitter = 0.0f;
    for (auto _ : state) {
        jitter = jitter < 0.9f ? jitter + 0.1f : 0.0f;
        const VolumeRay ray{nullptr, {jitter, 0.3f, 0.7f}, {0.0f, 0.0f, 1.0f}, 20.0f};
        VolumeMarch along(set, ray, settings, jitter);
        VolumeStep step;
        miColor depth{};
        while (along.next(step)) {
            depth += step.mix.extinction * (step.to - step.from);
            ++steps;
        }
        benchmark::DoNotOptimize(depth);
    }
    state.SetItemsProcessed(steps);
    state.counters["ns a step"] = benchmark::Counter(
        static_cast<double>(steps) * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["steps"] = static_cast<double>(steps) / static_cast<double>(state.iterations());
}
BENCHMARK(march)
    ->ArgNames({"media", "octaves"})
    ->Args({1, -1})
    ->Args({1, 0})
    ->Args({4, 0})
    ->Args({1, 1})
    ->Args({1, 3});

} // namespace

BENCHMARK_MAIN();
