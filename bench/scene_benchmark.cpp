// SPDX-License-Identifier: Apache-2.0
// Times the still life in one process, so that the figures that matter are ratios on one machine: the cost of
// passes, the speed-up by a second thread, and the share of time that the ray-tracing kernel alone takes.

#include "bare_rays.h"
#include "benchmark_command.h"
#include "loaded_scene.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <thread>

namespace {

using orca::bench::BareRays;
using orca::bench::LoadedScene;

/// One configuration, and the fastest of its rounds: disturbances only slow a run down.
struct Candidate {
    std::string name;
    LoadedScene* scene;
    int threads;
    double seconds = std::numeric_limits<double>::infinity();
    orca::render::RenderStatistics statistics{};
    int words = 0; // of one sample, all buffers
    double pixels = 0.0;

    void run() {
        const auto result = scene->render(threads);
        if (result->statistics.renderSeconds >= seconds) return;
        seconds = result->statistics.renderSeconds;
        statistics = result->statistics;
        words = result->picture().framebuffers().wordsPerSample();
        pixels = static_cast<double>(result->frame().width) * result->frame().height;
    }
    [[nodiscard]] double samplesPerSecond() const {
        return static_cast<double>(statistics.rays.samples) / seconds;
    }
};

/// Bytes that a pass adds to the film, as a multiple of its channels at four bytes in every pixel.
double filmShare(const Candidate& with, const Candidate& without) {
    return static_cast<double>(with.statistics.filmBytes - without.statistics.filmBytes) /
           (4.0 * (with.words - without.words) * with.pixels);
}

struct Setting {
    orca::bench::ScenePaths paths{ORCA_BENCH_SCENE, {ORCA_BENCH_DECLARATIONS}, {ORCA_BENCH_LIBRARIES}};
    int rounds = 5;
};

void compare(const Setting& setting) {
    LoadedScene plain(setting.paths, ""), twelve(setting.paths, "12"), all(setting.paths, "35");
    const BareRays bare(plain);
    Candidate beauty{"picture alone", &plain, 1}, with12{"12 passes", &twelve, 1},
        with35{"35 passes", &all, 1}, parallel{"picture alone", &plain, 2};
    for (LoadedScene* scene : {&plain, &twelve, &all}) scene->render(1); // caches are warm from here on

    BareRays::Result kernel;
    kernel.seconds = std::numeric_limits<double>::infinity();
    for (int round = 0; round < setting.rounds; ++round) {
        for (Candidate* candidate : {&beauty, &with12, &with35, &parallel}) candidate->run();
        const BareRays::Result traced = bare.trace();
        if (traced.seconds < kernel.seconds) kernel = traced;
    }

    const auto& rays = beauty.statistics.rays;
    fmt::print("{} triangles, {} lights, {} samples; fastest of {} rounds\n\n", beauty.statistics.triangles,
               beauty.statistics.lights, rays.samples, setting.rounds);
    fmt::print("{:<28}{:>10}{:>10}{:>16}\n", "", "seconds", "ratio", "samples/s");
    const auto row = [&](const Candidate& candidate, double ratio) {
        fmt::print("{:<28}{:>10.3f}{:>10.3f}{:>16.0f}\n",
                   candidate.name +
                       fmt::format(", {} thread{}", candidate.threads, candidate.threads == 1 ? "" : "s"),
                   candidate.seconds, ratio, candidate.samplesPerSecond());
    };
    row(beauty, 1.0);
    row(with12, with12.seconds / beauty.seconds);
    row(with35, with35.seconds / beauty.seconds);
    row(parallel, parallel.seconds / beauty.seconds);
    fmt::print("{:<28}{:>10.3f}{:>10.3f}{:>16.0f}\n\n", "bare kernel, 1 thread", kernel.seconds,
               kernel.seconds / beauty.seconds, static_cast<double>(kernel.primary) / kernel.seconds);

    fmt::print("share of the bare kernel   {:.1f} %   (rays: kernel {} eye, {} shadow; renderer {} eye, {} "
               "shadow)\n",
               100.0 * kernel.seconds / beauty.seconds, kernel.primary, kernel.shadow, rays.eye, rays.shadow);
    fmt::print("two threads                {:.2f} times one{}\n", beauty.seconds / parallel.seconds,
               std::thread::hardware_concurrency() < 2 ? "   (this machine has one processor)" : "");
    fmt::print("each pass costs            {:.2f} % of the picture alone\n",
               100.0 * (with35.seconds / beauty.seconds - 1.0) / 35.0);
    fmt::print("memory of a pass           {:.2f} times channels x 4 bytes x pixels\n",
               filmShare(with35, beauty));
}

} // namespace

int main(int argc, char** argv) {
    Setting setting;
    CLI::App command{
        "Times a benchmark scene: the price of passes, threads, and the distance from bare ray tracing"};
    command
        .add_option("--scene", setting.paths.file,
                    "scene whose variable \"passes\" (12, 35) chooses its layers")
        ->capture_default_str();
    command.add_option("-I", setting.paths.includes, "where declarations are found");
    command.add_option("-L", setting.paths.libraries, "where shader libraries are found");
    return orca::bench::runBenchmark(command, argc, argv, "orca-bench-scene", setting.rounds,
                                     [&] { compare(setting); });
}
