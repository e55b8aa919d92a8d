// SPDX-License-Identifier: Apache-2.0
// Times one shading call of each standard material, and of each production material through its adapter,
// under one light, without passes and with 12 and 35 of them. A picture in which every sample calls the
// material several times more than another picture differs from it by nothing but those calls.

#include "benchmark_command.h"
#include "scene_pair.h"

#include <fmt/format.h>

#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

using orca::bench::ScenePair;

constexpr int extraCalls = 8;

struct TimedMaterial {
    const char *name, *shader, *parameters, *adapter;

    /// A surface shader from which no rays are traced, so that the material alone is timed.
    [[nodiscard]] std::string instance(const std::string& called) const {
        if (!adapter) return fmt::format("shader \"{}\" \"{}\" ( {} )\n", called, shader, parameters);
        return fmt::format("shader \"{0} matter\" \"{1}\" ( {2} )\n"
                           "shader \"{0}\" \"{3}\" ( \"material\" \"{0} matter\" )\n",
                           called, shader, parameters, adapter);
    }
};

constexpr const char* glossy = "\"color\" 0.5 0.4 0.3 1, \"reflectionLimit\" 0";
constexpr TimedMaterial materials[] = {
    {"orcaVelaLambert", "orcaVelaLambert", "\"color\" 0.5 0.4 0.3 1", nullptr},
    {"orcaVelaPhong", "orcaVelaPhong", glossy, nullptr},
    {"orcaVelaPhongE", "orcaVelaPhongE", glossy, nullptr},
    {"orcaVelaBlinn", "orcaVelaBlinn", glossy, nullptr},
    {"orcaVelaAnisotropic", "orcaVelaAnisotropic", glossy, nullptr},
    {"orcaVelaRampShader", "orcaVelaRampShader", glossy, nullptr},
    {"orcaVelaHairTubeShader", "orcaVelaHairTubeShader", glossy, nullptr},
    {"orcaVelaFur", "orcaVelaFur", "\"color\" 0.5 0.4 0.3 1", nullptr},
    {"orcaVelaHairShader", "orcaVelaHairShader", "\"color\" 0.5 0.4 0.3 1, \"scatterRays\" 0", nullptr},
    {"velaSurfaceX", "velaSurfaceX", "\"reflectionLimit\" 0, \"reflectionSamples\" 1",
     "orcaVelaMiaMaterialXAdapter"},
    {"  with every layer", "velaSurfaceX",
     "\"reflectionLimit\" 0, \"reflectionSamples\" 1, \"metalness\" 0.5, \"coat\" 1, \"coatRoughness\" 0.2, "
     "\"sheen\" 0.5, "
     "\"filmThickness\" 400",
     "orcaVelaMiaMaterialXAdapter"},
    {"velaCarPaintX", "velaCarPaintX", "\"reflectionLimit\" 0, \"reflectionSamples\" 1",
     "orcaVelaMiCarPaintPhenXAdapter"},
    {"velaMetallicPaintX", "velaMetallicPaintX", "\"reflectionLimit\" 0, \"reflectionSamples\" 1",
     "orcaVelaMiMetallicPaintXAdapter"},
    {"velaSkinX", "velaSkinX",
     "\"reflectionLimit\" 0, \"reflectionSamples\" 1, \"epidermal\" 0, \"subdermal\" 0",
     "orcaVelaMisssFastShaderXAdapter"},
};

/// A card that fills the picture, lit by a directional light without shadows.
std::string sceneText(const TimedMaterial& material, int passes, int extra) {
    // Separate instances, because members of one instance's result share a call.
    std::string extras, instances;
    for (int i = 0; i < extra; ++i) {
        const std::string called = fmt::format("extra {}", i);
        instances += material.instance(called);
        extras += fmt::format("{} = \"{}.outColor\"", i == 0 ? "" : ",", called);
    }
    return orca::bench::sceneHead(passes, "off") +
           fmt::format("link \"velamaterials.so\"\n$include <velamaterials.mi>\n"
                       "light \"sun\" \"orcaVelaDirectionalLight\" ( \"useRayTraceShadows\" off ) "
                       "direction -0.3 -0.4 -1 end light\ninstance \"sun here\" \"sun\" end instance\n"
                       "{}{}"
                       "material \"stuff\" opaque \"orcaVelaShadingEngine\" ( \"surfaceShader\" "
                       "\"surface\"{} ) end material\n",
                       material.instance("surface"), instances,
                       extra == 0 ? "" : fmt::format(", \"extraOutputs\" [ {} ]", extras)) +
           orca::bench::fillingCard() +
           "instgroup \"scene\" \"camera here\" \"sun here\" \"card here\" end instgroup\n"
           "render \"scene\" \"camera here\" \"quality\"\n";
}

void compare(int rounds) {
    std::vector<std::unique_ptr<ScenePair>> pairs;
    for (const TimedMaterial& material : materials)
        for (const int passes : {0, 12, 35})
            pairs.push_back(std::make_unique<ScenePair>(sceneText(material, passes, 0),
                                                        sceneText(material, passes, extraCalls), extraCalls));
    for (int round = 0; round < rounds; ++round)
        for (const auto& pair : pairs) pair->run();

    fmt::print("nanoseconds of one shading call under one light; fastest of {} rounds\n\n", rounds);
    fmt::print("{:<22}{:>10}{:>12}{:>12}{:>12}{:>16}\n", "", "no pass", "12 passes", "35 passes", "35 : none",
               "none : Lambert");
    const double lambert = pairs[0]->nanoseconds();
    for (std::size_t s = 0; s < std::size(materials); ++s) {
        const double none = pairs[3 * s]->nanoseconds();
        const double all = pairs[3 * s + 2]->nanoseconds();
        fmt::print("{:<22}{:>10.0f}{:>12.0f}{:>12.0f}{:>12.2f}{:>16.2f}\n", materials[s].name, none,
                   pairs[3 * s + 1]->nanoseconds(), all, all / none, none / lambert);
    }
}

} // namespace

int main(int argc, char** argv) {
    int rounds = 7;
    CLI::App command{"Times the standard and the production materials, with and without passes"};
    return orca::bench::runBenchmark(command, argc, argv, "orca-bench-materials", rounds,
                                     [&] { compare(rounds); });
}
