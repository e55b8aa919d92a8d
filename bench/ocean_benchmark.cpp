// SPDX-License-Identifier: Apache-2.0
// Cost of the ocean: its waves at a point by the number of octaves, compared with a bare loop of as many
// cosines from the C library; and a frame of it compared with a frame of the still life, in one process.
#include "benchmark_command.h"
#include "loaded_scene.h"
#include "orcaOceanWaves.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <string>

namespace {

using orca::bench::LoadedScene;
using Clock = std::chrono::steady_clock;

Ramp constantRamp(float value) {
    Ramp ramp{};
    ramp.count = 1;
    ramp.scalars[0] = value;
    return ramp;
}

/// Nanoseconds per call of body(i), from the fastest of many short runs: disturbances only slow a run down.
template <class Body>
double nanoseconds(int rounds, const Body& body) {
    constexpr int calls = 200, runsPerRound = 100;
    double best = std::numeric_limits<double>::infinity();
    for (int run = 0; run < runsPerRound * rounds; ++run) {
        const auto start = Clock::now();
        for (int i = 0; i < calls; ++i) body(i);
        best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
    }
    return best / calls * 1e9;
}

volatile float sink;

/// A turbulent, peaked sea with foam, as a shading call evaluates it.
struct Sea {
    explicit Sea(int octaves) : count(static_cast<float>(octaves)) {
        ocean_prepare(scale, shortest, longest, count, ratio);
    }
    [[nodiscard]] OceanWaveField field() const {
        return {3.0f,  scale,   {0.3f, 1.0f, 0.0f}, 0.0f,     0.4f, count, shortest, longest,
                ratio, &height, &turbulence,        &peaking, 1.0f, 0.45f};
    }
    float scale = 1.0f, shortest = 0.25f, longest = 25.0f, count, ratio = 1.0f;
    Ramp height = constantRamp(0.4f), turbulence = constantRamp(0.8f), peaking = constantRamp(0.6f);
};

void printPoints(int rounds) {
    fmt::print("{:<10}{:>16}{:>22}{:>22}{:>18}\n", "octaves", "height, ns", "shading point, ns",
               "16 cosf an octave, ns", "height / cosines");
    for (const int octaves : {1, 2, 4, 8, 16}) {
        const Sea sea(octaves);
        const auto place = [](int i) { return 0.371f * static_cast<float>(i); };
        const double height = nanoseconds(rounds, [&](int i) {
            float h = 0.0f;
            OceanWaves(sea.field()).at(place(i), -place(i), &h, nullptr, 0.1f);
            sink = h;
        });
        const double shading = nanoseconds(rounds, [&](int i) {
            const OceanWaves waves(sea.field());
            float h = 0.0f, hx = 0.0f, hz = 0.0f, foam = 0.0f;
            waves.at(place(i), -place(i), &h, &foam, 0.1f);
            waves.at(place(i) + 0.1f, -place(i), &hx, nullptr, 0.1f);
            waves.at(place(i), 0.1f - place(i), &hz, nullptr, 0.1f);
            sink = h + hx + hz + foam;
        });
        const double bare = nanoseconds(rounds, [&](int i) {
            float sum = 0.0f;
            for (int k = 0; k < 16 * octaves; ++k) sum += std::cos(place(i + k));
            sink = sum;
        });
        fmt::print("{:<10}{:>16.0f}{:>22.0f}{:>22.0f}{:>18.2f}\n", octaves, height, shading, bare,
                   height / bare);
    }
}

struct Frame {
    std::string name;
    LoadedScene* scene;
    double seconds = std::numeric_limits<double>::infinity();
    orca::render::RenderStatistics statistics{};

    void run() {
        const auto result = scene->render(1, [](orca::render::Picture& picture) {
            picture.setResolution(960, 540);
            picture.options.options.min_samples = picture.options.options.max_samples = 0;
        });
        if (result->statistics.renderSeconds >= seconds) return;
        seconds = result->statistics.renderSeconds;
        statistics = result->statistics;
    }
};

void printFrames(int rounds) {
    const auto paths = [](const char* scene) {
        return orca::bench::ScenePaths{
            std::string(ORCA_BENCH_SCENES "/") + scene, {ORCA_BENCH_DECLARATIONS}, {ORCA_BENCH_LIBRARIES}};
    };
    LoadedScene stillLife(paths("bench_still_life.mi"), ""), layered(paths("bench_still_life.mi"), "12"),
        ocean(paths("ocean_dusk.mi"), "");
    Frame frames[] = {{"still life, picture alone", &stillLife},
                      {"still life, 12 passes", &layered},
                      {"ocean, 8 passes", &ocean}};
    for (int round = 0; round < rounds; ++round)
        for (Frame& frame : frames) frame.run();
    fmt::print("\n{:<28}{:>10}{:>10}{:>12}{:>14}{:>12}\n", "960 x 540, one thread", "seconds", "ratio",
               "build, s", "triangles", "rays");
    for (const Frame& frame : frames)
        fmt::print(
            "{:<28}{:>10.3f}{:>10.2f}{:>12.3f}{:>14}{:>12}\n", frame.name, frame.seconds,
            frame.seconds / frames[0].seconds, frame.statistics.buildSeconds, frame.statistics.triangles,
            frame.statistics.rays.eye + frame.statistics.rays.reflection + frame.statistics.rays.shadow);
}

} // namespace

int main(int argc, char** argv) {
    int rounds = 5;
    CLI::App command{"Times the ocean: its waves by octaves, and a frame of it compared with the still life"};
    return orca::bench::runBenchmark(command, argc, argv, "orca-bench-ocean", rounds, [&] {
        printPoints(rounds);
        printFrames(rounds);
    });
}
