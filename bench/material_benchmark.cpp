// SPDX-License-Identifier: Apache-2.0
// Times one shading call of each standard material under one light, without passes and with 12 and 35 of
// them. A picture in which every sample calls the material several times more than another picture differs
// from it by nothing but those calls.

#include "benchmark_command.h"
#include "loaded_scene.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <unistd.h>
#include <vector>

namespace {

using orca::bench::LoadedScene;

constexpr int extraCalls = 8;

/// A temporary scene file, removed with the object.
class SceneFile {
public:
    explicit SceneFile(const std::string& text)
        : path_(std::filesystem::temp_directory_path() /
                fmt::format("orca-bench-materials-{}-{}.mi", getpid(), count++)) {
        std::ofstream(path_) << text;
    }
    ~SceneFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    SceneFile(const SceneFile&) = delete;
    SceneFile& operator=(const SceneFile&) = delete;
    [[nodiscard]] std::string path() const { return path_.string(); }

private:
    static inline int count = 0;
    std::filesystem::path path_;
};

/// A card that fills the picture, lit by a directional light without shadows. No rays are traced from it, so
/// that the material alone is timed.
std::string sceneText(const std::string& shader, int passes, int extra) {
    const std::string parameters = std::string("( \"color\" 0.5 0.4 0.3 1") +
                                   (shader == "orcaVelaLambert" ? "" : ", \"reflectionLimit\" 0") + " )";
    // Separate instances, because members of one instance's result share a call.
    std::string extras, instances;
    for (int i = 0; i < extra; ++i) {
        instances += fmt::format("shader \"extra {}\" \"{}\" {}\n", i, shader, parameters);
        extras += fmt::format("{} = \"extra {}.outColor\"", i == 0 ? "" : ",", i);
    }
    return fmt::format(
        "link \"velabase.so\"\nlink \"orca.so\"\n$include <velabase.mi>\n$include <orca.mi>\n"
        "options \"quality\" object space samples 0 0 filter box 1 1 trace on trace depth 1 1 2 shadow off\n"
        "state \"velaBaseState\" ( ) \"orcaFrameBufferState\" ( ) end options\n"
        "$include <bench_camera_{}.mi>\n"
        "instance \"camera here\" \"camera\" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -10 1 end instance\n"
        "light \"sun\" \"orcaVelaDirectionalLight\" ( \"useRayTraceShadows\" off ) direction -0.3 -0.4 -1 "
        "end light\n"
        "instance \"sun here\" \"sun\" end instance\n"
        "shader \"surface\" \"{}\" {}\n{}"
        "material \"stuff\" opaque \"orcaVelaShadingEngine\" ( \"surfaceShader\" \"surface\"{} ) end "
        "material\n"
        "object \"card\" visible on trace on shadow on group\n"
        "-20 -20 0 20 -20 0 20 20 0 -20 20 0 0 0 1\nv 0 n 4 v 1 n 4 v 2 n 4 v 3 n 4\np \"stuff\" 0 1 2 3\n"
        "end group end object\ninstance \"card here\" \"card\" end instance\n"
        "instgroup \"scene\" \"camera here\" \"sun here\" \"card here\" end instgroup\n"
        "render \"scene\" \"camera here\" \"quality\"\n",
        passes, shader, parameters, instances,
        extra == 0 ? "" : fmt::format(", \"extraOutputs\" [ {} ]", extras));
}

/// A material with a number of passes.
struct Candidate {
    Candidate(const std::string& shader, int passes)
        : onceFile(sceneText(shader, passes, 0)),
          oftenFile(sceneText(shader, passes, extraCalls)),
          once({onceFile.path(), {ORCA_BENCH_DECLARATIONS, ORCA_BENCH_SCENES}, {ORCA_BENCH_LIBRARIES}}, ""),
          often({oftenFile.path(), {ORCA_BENCH_DECLARATIONS, ORCA_BENCH_SCENES}, {ORCA_BENCH_LIBRARIES}},
                "") {}

    void run() {
        onceSeconds = std::min(onceSeconds, seconds(once));
        oftenSeconds = std::min(oftenSeconds, seconds(often));
    }
    [[nodiscard]] double nanosecondsPerCall() const {
        return (oftenSeconds - onceSeconds) * 1e9 / (extraCalls * samples);
    }

    SceneFile onceFile, oftenFile;
    LoadedScene once, often;
    double onceSeconds = std::numeric_limits<double>::infinity();
    double oftenSeconds = std::numeric_limits<double>::infinity();
    double samples = 0.0;

private:
    double seconds(LoadedScene& scene) {
        const auto result =
            scene.render(1, [](orca::render::Picture& picture) { picture.setResolution(192, 108); });
        samples = static_cast<double>(result->statistics.rays.samples);
        return result->statistics.renderSeconds;
    }
};

void compare(int rounds) {
    const std::vector<std::string> shaders = {"orcaVelaLambert", "orcaVelaPhong", "orcaVelaPhongE",
                                              "orcaVelaBlinn", "orcaVelaAnisotropic"};
    const std::vector<int> passes = {0, 12, 35};
    std::vector<std::unique_ptr<Candidate>> candidates;
    for (const std::string& shader : shaders)
        for (const int count : passes) candidates.push_back(std::make_unique<Candidate>(shader, count));
    for (int round = 0; round < rounds; ++round)
        for (const auto& candidate : candidates) candidate->run();

    fmt::print("nanoseconds of one shading call under one light; fastest of {} rounds\n\n", rounds);
    fmt::print("{:<22}{:>10}{:>12}{:>12}{:>12}{:>16}\n", "", "no pass", "12 passes", "35 passes", "35 : none",
               "none : Lambert");
    const double lambert = candidates[0]->nanosecondsPerCall();
    for (std::size_t s = 0; s < shaders.size(); ++s) {
        const double none = candidates[3 * s]->nanosecondsPerCall();
        const double all = candidates[3 * s + 2]->nanosecondsPerCall();
        fmt::print("{:<22}{:>10.0f}{:>12.0f}{:>12.0f}{:>12.2f}{:>16.2f}\n", shaders[s], none,
                   candidates[3 * s + 1]->nanosecondsPerCall(), all, all / none, none / lambert);
    }
}

} // namespace

int main(int argc, char** argv) {
    int rounds = 7;
    CLI::App command{"Times the standard materials, with and without passes"};
    return orca::bench::runBenchmark(command, argc, argv, "orca-bench-materials", rounds,
                                     [&] { compare(rounds); });
}
