// SPDX-License-Identifier: Apache-2.0
// Times one shading call of each standard material under one light, without passes and with 12 and 35 of
// them. A picture in which every sample calls the material several times more than another picture differs
// from it by nothing but those calls.

#include "benchmark_command.h"
#include "scene_pair.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using orca::bench::ScenePair;

constexpr int extraCalls = 8;

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
    return orca::bench::sceneHead(passes, "off") +
           fmt::format("light \"sun\" \"orcaVelaDirectionalLight\" ( \"useRayTraceShadows\" off ) "
                       "direction -0.3 -0.4 -1 end light\ninstance \"sun here\" \"sun\" end instance\n"
                       "shader \"surface\" \"{}\" {}\n{}"
                       "material \"stuff\" opaque \"orcaVelaShadingEngine\" ( \"surfaceShader\" "
                       "\"surface\"{} ) end material\n",
                       shader, parameters, instances,
                       extra == 0 ? "" : fmt::format(", \"extraOutputs\" [ {} ]", extras)) +
           orca::bench::fillingCard() +
           "instgroup \"scene\" \"camera here\" \"sun here\" \"card here\" end instgroup\n"
           "render \"scene\" \"camera here\" \"quality\"\n";
}

void compare(int rounds) {
    const std::vector<std::string> shaders = {"orcaVelaLambert", "orcaVelaPhong", "orcaVelaPhongE",
                                              "orcaVelaBlinn", "orcaVelaAnisotropic"};
    std::vector<std::unique_ptr<ScenePair>> pairs;
    for (const std::string& shader : shaders)
        for (const int passes : {0, 12, 35})
            pairs.push_back(std::make_unique<ScenePair>(sceneText(shader, passes, 0),
                                                        sceneText(shader, passes, extraCalls), extraCalls));
    for (int round = 0; round < rounds; ++round)
        for (const auto& pair : pairs) pair->run();

    fmt::print("nanoseconds of one shading call under one light; fastest of {} rounds\n\n", rounds);
    fmt::print("{:<22}{:>10}{:>12}{:>12}{:>12}{:>16}\n", "", "no pass", "12 passes", "35 passes", "35 : none",
               "none : Lambert");
    const double lambert = pairs[0]->nanoseconds();
    for (std::size_t s = 0; s < shaders.size(); ++s) {
        const double none = pairs[3 * s]->nanoseconds();
        const double all = pairs[3 * s + 2]->nanoseconds();
        fmt::print("{:<22}{:>10.0f}{:>12.0f}{:>12.0f}{:>12.2f}{:>16.2f}\n", shaders[s], none,
                   pairs[3 * s + 1]->nanoseconds(), all, all / none, none / lambert);
    }
}

} // namespace

int main(int argc, char** argv) {
    int rounds = 7;
    CLI::App command{"Times the standard materials, with and without passes"};
    return orca::bench::runBenchmark(command, argc, argv, "orca-bench-materials", rounds,
                                     [&] { compare(rounds); });
}
