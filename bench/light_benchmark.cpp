// SPDX-License-Identifier: Apache-2.0
// Times one light at a shaded point, for each kind of light: without shadows, with one shadow ray, with
// several, and with one and 12 passes. A picture of a Lambert card under several lights more than in another
// picture differs from it by nothing but those lights.

#include "benchmark_command.h"
#include "scene_pair.h"

#include <fmt/format.h>

#include <string>
#include <vector>

namespace {

using orca::bench::ScenePair;

constexpr int extraLights = 8;

/// What a light has in each column of the table: parameters, and the statement of its shape.
struct Shadow {
    std::string parameters, statement;
};
struct Kind {
    std::string name;
    std::string shader, placement;
    Shadow none, hard, soft; ///< soft: 8 rays
    std::string parameters = "\"intensity\" 1";
};

std::vector<Kind> kinds() {
    const std::string above = "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -6 1"; // at (0, 0, 6), -z to the card
    const std::string point = "origin 0 0 0", down = "direction -0.3 -0.4 -1";
    const std::string spot = "origin 0 0 0 direction 0 0 -1 spread 0.6";
    const std::string off = "\"useRayTraceShadows\" off", on = "\"useRayTraceShadows\" on";
    const std::string disc = "\"lightRadius\" 0.5, \"shadowRays\" 8",
                      angle = "\"lightAngle\" 3, \"shadowRays\" 8";
    const std::string one = "user 1 1", eight = "user 4 2";
    const std::string lamp = "object \"lamp here\"";
    return {
        {"point", "orcaVelaPointLight", above, {off, point}, {on, point}, {disc, point}},
        {"directional", "orcaVelaDirectionalLight", "", {off, down}, {on, down}, {angle, down}},
        {"default", "orcaVelaDefaultLight", "", {off, down}, {on, down}, {on + ", " + angle, down}},
        {"spot", "orcaVelaSpotLight", above, {off, spot}, {on, spot}, {disc, spot}, "\"coneAngle\" 100"},
        {"ambient", "orcaVelaAmbientLight", above, {off, point}, {on, point}, {on + ", " + disc, point}},
        {"area, rectangle",
         "orcaVelaAreaLight",
         above,
         {off, point},
         {"\"shadowRays\" 1", point},
         {"\"shadowRays\" 8", point}},
        {"area, disc",
         "orcaVelaAreaLight",
         above,
         {off, point},
         {"\"shadowRays\" 1", point},
         {"\"shadowRays\" 8", point},
         "\"shape\" 1"},
        {"volume, sphere",
         "orcaVelaVolumeLight",
         "transform 0.05 0 0 0 0 0.05 0 0 0 0 0.05 0 0 0 -0.3 1",
         {off, point},
         {on, point},
         {disc, point}},
        {"shape", "orcaVelaShapeLight", "", {off, lamp + " 1 1"}, {on, lamp + " 1 1"}, {on, lamp + " 4 2"}},
        {"dome, gradient", "velaDomeLight", "", {off, one}, {on, one}, {on, eight}},
        {"dome, image", "velaDomeLight", "", {off, one}, {on, one}, {on, eight}, "\"texture\" \"image\""},
    };
}

/// A card that fills the picture, and what shadows half of it, which only shadow rays meet.
std::string sceneText(const Kind& kind, const Shadow& shadow, int passes, int lights) {
    std::string text = orca::bench::sceneHead(passes, "on") +
                       "color texture \"image\" \"" ORCA_BENCH_SCENES "/generated/studio.hdr\"\n"
                       "shader \"surface\" \"orcaVelaLambert\" ( \"color\" 0.5 0.4 0.3 1 )\n"
                       "material \"stuff\" opaque \"orcaVelaShadingEngine\" ( \"surfaceShader\" \"surface\" )"
                       " shadow \"orcaVelaFastShadow\" ( ) end material\n$include <generated/knot.mi>\n"
                       "instance \"knot here\" \"knot\" material \"stuff\" visible off trace off\n"
                       "transform 0.5 0 0 0 0 0.5 0 0 0 0 0.5 0 -1.15 -0.5 -2 1 end instance\n"
                       "object \"lamp\" visible off trace off shadow off group\n"
                       "-1 -1 6 -1 1 6 1 1 6 1 -1 6\nv 0 v 1 v 2 v 3\np \"stuff\" 0 1 2 3\n"
                       "end group end object\ninstance \"lamp here\" \"lamp\" end instance\n" +
                       orca::bench::fillingCard();
    text += fmt::format("light \"light\" \"{}\" ( {}, {} ) {} end light\n", kind.shader, kind.parameters,
                        shadow.parameters, shadow.statement);
    std::string members; // of one light, which is prepared once however many there are
    for (int i = 0; i < lights; ++i) {
        text += fmt::format("instance \"light {}\" \"light\" {} end instance\n", i, kind.placement);
        members += fmt::format(" \"light {}\"", i);
    }
    return text +
           fmt::format("instgroup \"scene\" \"camera here\" \"card here\" \"knot here\" \"lamp here\"{} "
                       "end instgroup\nrender \"scene\" \"camera here\" \"quality\"\n",
                       members);
}

void compare(int rounds) {
    struct Column {
        const char* name;
        Shadow Kind::*shadow;
        int passes;
    };
    const std::vector<Column> columns = {{"no shadow", &Kind::none, 0},
                                         {"1 ray", &Kind::hard, 0},
                                         {"8 rays", &Kind::soft, 0},
                                         {"1 ray, 12 passes", &Kind::hard, 12}};
    fmt::print("nanoseconds of one light at a shaded point; fastest of {} rounds\n\n{:<18}", rounds, "");
    for (const Column& column : columns) fmt::print("{:>18}", column.name);
    for (const Kind& kind : kinds()) {
        fmt::print("\n{:<18}", kind.name);
        for (const Column& column : columns) {
            const Shadow& shadow = kind.*column.shadow;
            ScenePair pair(sceneText(kind, shadow, column.passes, 1),
                           sceneText(kind, shadow, column.passes, 1 + extraLights), extraLights);
            for (int round = 0; round < rounds; ++round) pair.run();
            fmt::print("{:>18.0f}", pair.nanoseconds());
        }
    }
    fmt::print("\n");
}

} // namespace

int main(int argc, char** argv) {
    int rounds = 7;
    CLI::App command{"Times each kind of light, with and without shadows"};
    return orca::bench::runBenchmark(command, argc, argv, "orca-bench-lights", rounds,
                                     [&] { compare(rounds); });
}
