// SPDX-License-Identifier: Apache-2.0
/// With additivePasses the layers that a compositor adds up are the picture, shadowed and shadow are
/// unshadowed, and alpha is coverage.
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace orca::test {
namespace {

constexpr float tolerance = 1e-5f;
constexpr const char* LAYERS[] = {"ambient",    "diffuse",    "specular", "incandescence",
                                  "reflection", "refraction", "indirect"};
constexpr const char* SHADOW_PASSES[][3] = {{"diffuse", "shadow", "diffuseNoShadow"},
                                            {"directIrradiance", "rawShadow", "directIrradianceNoShadow"}};
/// Handed over before their transparency.
bool isWeighted(const std::string& pass) {
    for (const char* name : {"ambient", "diffuse", "indirect", "diffuseNoShadow", "directIrradiance",
                             "rawShadow", "directIrradianceNoShadow"})
        if (pass == name) return true;
    return false;
}

struct SceneCase {
    const char* name;
    std::string contents;
    std::vector<std::string> members;
    const char* litLayer; ///< that a part of the picture is in
};

const std::string softSun = directionalLight("sun", "\"lightAngle\" 6, \"shadowRays\" 4", "-0.3 -0.2 -1");
const std::string softLamp =
    pointLight("lamp", "\"lightRadius\" 0.6, \"shadowRays\" 4, \"intensity\" 0.7", 1, 0.5f, 4);
const std::string floorAndLights =
    lambert("floor", "\"color\" 0.9 0.8 0.7 1, \"ambientColor\" 0.05 0.1 0 1") +
    card("ground", "floor", 0, 0, 0, 8) + softSun + softLamp;

std::vector<SceneCase> sceneCases() {
    return {
        {"ShadowsOfAHalfTransparentSheet",
         lambert("film", "\"color\" 0.4 0.2 0.8 1, \"transparency\" 0.6 0.3 0.8 1", "0.6 0.3 0.8 1") +
             floorAndLights + card("sheet", "film", -0.5f, 0, 1, 0.9f),
         {"ground", "sheet", "sun_inst", "lamp_inst"},
         "ambient"},
        {"RefractingGlass",
         lambert("glass",
                 "\"color\" 0.2 0.6 0.3 1, \"transparency\" 0.5 0.7 1 1, \"refractionsOn\" on, "
                 "\"ambientColor\" 0.2 0.2 0.1 1, \"incandescence\" 0.1 0 0.2 1",
                 "0.5 0.7 1 1") +
             floorAndLights + card("pane", "glass", -0.5f, 0.3f, 1.5f, 0.9f),
         {"ground", "pane", "sun_inst", "lamp_inst"},
         "refraction"},
        {"WhollyTransparentGlow",
         lambert("glow", "\"color\" 1 1 1 1, \"transparency\" 1 1 1 1, \"incandescence\" 0.3 0.1 0.2 1",
                 "1 1 1 1") +
             floorAndLights + card("veil", "glow", 0.4f, 0, 1, 0.9f),
         {"ground", "veil", "sun_inst", "lamp_inst"},
         "incandescence"},
        {"BothSidesOfATranslucentSheetThatShines",
         surface("leaf", "orcaVelaPhong",
                 "\"color\" 0.3 0.6 0.2 1, \"translucence\" 0.7, \"cosinePower\" 4, \"reflectivity\" 0.4") +
             floorAndLights + card("back", "leaf", -0.8f, 0, 1.2f, 0.6f, "") +
             "instance \"turned\" \"back_mesh\" transform -1 0 0 0 0 1 0 0 0 0 -1 0 0.9 0 1.2 1 end "
             "instance\n" +
             directionalLight("low", "", "0.2 0.1 1"),
         {"ground", "back", "turned", "sun_inst", "lamp_inst", "low_inst"},
         "specular"},
        {"LayersThatRefract",
         "shader \"coat\" \"orcaVelaBlinn\" ( \"color\" 0.1 0.1 0.4 1, \"transparency\" 0.7 0.8 0.6 1, "
         "\"reflectivity\" 0.5 )\n"
         "shader \"jelly\" \"orcaVelaLambert\" ( \"color\" 0.2 0.6 0.3 1, \"transparency\" 0.5 0.6 0.3 1, "
         "\"refractionsOn\" on, \"refractiveIndex\" 1.2 )\n" +
             surface(
                 "both", "orcaVelaLayeredShader",
                 "\"layers\" [ { \"color\" = \"coat.outColor\", \"transparency\" = \"coat.outTransparency\" "
                 "}, { \"color\" = \"jelly.outColor\", \"transparency\" = \"jelly.outTransparency\" } ]",
                 "0.4 0.5 0.2 1") +
             floorAndLights + card("slab", "both", 0.3f, -0.2f, 1, 1),
         {"ground", "slab", "sun_inst", "lamp_inst"},
         "refraction"},
    };
}

class AdditivePasses : public ::testing::TestWithParam<SceneCase> {};

miColor plus(const miColor& a, const miColor& b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b, 0};
}
float difference(const miColor& a, const miColor& b) {
    return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
}

TEST_P(AdditivePasses, AddUpAtEveryPixel) {
    TestScene scene;
    scene.baseState = "\"additivePasses\" on";
    scene.traceDepth = "3 4 6";
    scene.contents = GetParam().contents;
    scene.members = GetParam().members;
    scene.passes = {"beauty"};
    scene.passFlags = {""};
    const auto add = [&](const std::string& pass) {
        if (std::ranges::count(scene.passes, pass)) return;
        scene.passes.push_back(pass);
        scene.passFlags.push_back(std::string("\"shadowed\" on") +
                                  (isWeighted(pass) ? ", \"weightByOpacity\" on" : ""));
    };
    for (const char* layer : LAYERS) add(layer);
    for (const auto& passes : SHADOW_PASSES)
        for (const char* pass : passes) add(pass);
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    int lit = 0, inShadow = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            SCOPED_TRACE(fmt::format("pixel {} {}", x, y));
            const miColor seen = picture.pixel("main", x, y);
            EXPECT_LE(difference(picture.pixel("beauty", x, y), seen), tolerance) << "beauty";
            miColor sum{};
            for (const char* layer : LAYERS) sum = plus(sum, picture.pixel(layer, x, y));
            EXPECT_LE(difference(sum, seen), tolerance) << "layers";
            for (const auto& [shadowed, shadow, unshadowed] : SHADOW_PASSES)
                EXPECT_LE(difference(plus(picture.pixel(shadowed, x, y), picture.pixel(shadow, x, y)),
                                     picture.pixel(unshadowed, x, y)),
                          tolerance)
                    << shadowed;
            for (const std::string& pass : scene.passes)
                EXPECT_NEAR(picture.pixel(pass, x, y).a, seen.a, tolerance) << pass;
            lit += picture.pixel(GetParam().litLayer, x, y).g > 0.01f;
            inShadow += picture.pixel("shadow", x, y).r > 0.01f;
        }
    EXPECT_GT(lit, 10);
    EXPECT_TRUE(inShadow > 5 || GetParam().name == std::string("WhollyTransparentGlow"));
}
INSTANTIATE_TEST_SUITE_P(Scenes, AdditivePasses, ::testing::ValuesIn(sceneCases()),
                         [](const auto& test) { return std::string(test.param.name); });

/// A lit wall behind a lit refracting pane, in a diffuse pass that takes what is seen through it.
TEST(RefractingPane, LeavesTheWallInTheDiffusePass) {
    struct {
        bool additive;
        float transparency, diffuse;
    } const cases[] = {
        {false, 1.0f, 1.25f},
        {false, 0.5f, 0.75f}, // its own at full strength, since it leaves nothing over
        {true, 1.0f, 1.0f},
        {true, 0.5f, 0.5f + 0.125f},
    };
    for (const auto& c : cases) {
        TestScene scene;
        scene.baseState = c.additive ? "\"additivePasses\" on" : "";
        scene.passes = {"diffuse"};
        scene.passFlags = {"\"shadowed\" on, \"weightByOpacity\" on, \"includeRefraction\" on, "
                           "\"maxRefractionLevel\" 9"};
        scene.contents =
            lambert("pane", fmt::format("\"color\" 0.25 0.25 0.25 1, \"diffuse\" 1, \"transparency\" "
                                        "{0} {0} {0} 1, \"refractionsOn\" on",
                                        c.transparency)) +
            lambert("white", "\"color\" 1 1 1 1, \"diffuse\" 1") + card("window", "pane", 0, 0, 1, 8) +
            card("wall", "white", 0, 0, 0, 8) +
            directionalLight("sun", "\"useRayTraceShadows\" off", "0 0 -1");
        scene.members = {"window", "wall", "sun_inst"};
        const RenderedScene picture(scene.text());
        EXPECT_NEAR(picture.pixel("diffuse", 8, 8).r, c.diffuse, tolerance) << c.transparency;
        if (c.additive) {
            EXPECT_NEAR(picture.pixel("main", 8, 8).r, c.diffuse, tolerance) << c.transparency;
        }
    }
}

/// Two cards of which the pass leaves one out.
TEST(PassAlpha, IsCoverageByWhatFeedsThePassOnlyWherePassesAddUp) {
    for (const bool additive : {false, true}) {
        TestScene scene;
        scene.baseState = additive ? "\"additivePasses\" on" : "";
        scene.passes = {"beauty", "diffuse"}; // records 0, 1
        scene.contents = passMask("notDiffuse", "1") + lambert("film", "\"transparency\" 0.75 0.75 0.75 1") +
                         card("half", "film", -1, 1, 0, 1) +
                         card("leftOut", "film", 1, 1, 0, 1, "data \"notDiffuse\"");
        scene.members = {"half", "leftOut"}; // in the dark
        const RenderedScene picture(scene.text());
        const auto alpha = [&](const char* pass, int x, int y) { return picture.pixel(pass, x, y).a; };
        EXPECT_NEAR(alpha("diffuse", 3, 12), additive ? 0.25f : 0.0f, 1e-6f); // unlit
        EXPECT_NEAR(alpha("beauty", 3, 12), additive ? 0.25f : 1.0f, 1e-6f);
        EXPECT_NEAR(alpha("diffuse", 12, 12), 0.0f, 1e-6f);
        EXPECT_NEAR(alpha("beauty", 12, 12), additive ? 0.25f : 1.0f, 1e-6f);
        EXPECT_NEAR(alpha("beauty", 3, 3), 0.0f, 1e-6f); // empty
    }
}

} // namespace
} // namespace orca::test
