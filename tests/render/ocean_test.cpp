// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace orca::test {
namespace {

constexpr const char* WATER = "\"color\" 0 0 0 1, \"reflectivity\" 0, \"specularStrength\" 0, ";

/// A sheet of water at height 0 above a glowing floor, seen from ten above; `water` are
/// orcaVelaOceanShader's.
TestScene pool(const std::string& water, const std::string& floorColor = "0.8 0.6 0.4", float depth = 2.0f) {
    TestScene scene;
    scene.baseState = "\"additivePasses\" on";
    scene.passes = {"beauty", "diffuse", "specular", "incandescence", "reflection", "refraction", "indirect"};
    scene.passFlags = {"",
                       "\"shadowed\" on, \"weightByOpacity\" on",
                       "\"shadowed\" on",
                       "\"shadowed\" on",
                       "\"shadowed\" on",
                       "\"shadowed\" on",
                       "\"shadowed\" on, \"weightByOpacity\" on"};
    scene.camera = "transform 1 0 0 0 0 0 1 0 0 -1 0 0 0 0 -10 1";
    const auto sheet = [](const std::string& name, const std::string& material, float height) {
        return fmt::format("object \"{0}_mesh\" visible shadow trace group\n"
                           "-20 {2} 20 20 {2} 20 20 {2} -20 -20 {2} -20\nv 0 v 1 v 2 v 3\np \"{1}\" 0 1 2 3\n"
                           "end group end object\ninstance \"{0}\" \"{0}_mesh\" end instance\n",
                           name, material, height);
    };
    scene.contents = surface("water", "orcaVelaOceanShader", water, "1 1 1 1") +
                     lambert("ground", "\"color\" 0 0 0 1, \"incandescence\" " + floorColor + " 1") +
                     sheet("sea", "water", 0.0f) + sheet("floor", "ground", -depth) +
                     directionalLight("sun", "\"useRayTraceShadows\" off", "-0.5 -1 -0.3");
    scene.members = {"sea", "floor", "sun_inst"};
    return scene;
}

void expectLayersAddUp(const RenderedScene& picture) {
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const miColor main = picture.pixel("main", x, y);
            miColor sum{};
            for (const char* name :
                 {"diffuse", "specular", "incandescence", "reflection", "refraction", "indirect"}) {
                const miColor layer = picture.pixel(name, x, y);
                sum = {sum.r + layer.r, sum.g + layer.g, sum.b + layer.b, 0};
            }
            const miColor beauty = picture.pixel("beauty", x, y);
            for (const auto& [a, b] :
                 {std::pair(main.r, beauty.r), std::pair(main.g, beauty.g), std::pair(main.b, beauty.b),
                  std::pair(main.r, sum.r), std::pair(main.g, sum.g), std::pair(main.b, sum.b)})
                ASSERT_NEAR(a, b, 1e-4f * std::abs(a) + 2e-6f) << x << ", " << y;
        }
}

TEST(OceanShader, AbsorbsWhatComesThroughTheWaterByItsDepth) {
    const RenderedScene picture(pool(std::string(WATER) +
                                     "\"octaveCount\" 0, \"transparency\" 1 0.5 1 1, \"refractionsOn\" on, "
                                     "\"lightAbsorbance\" 0.5, \"absorptionColor\" 0.25 0.5 1 1")
                                    .text());
    expectLayersAddUp(picture);
    // Two units at a half per unit: the absorption colour once.
    const miColor seen = picture.pixel("main", 5, 9);
    EXPECT_NEAR(seen.r, 0.8f * 0.25f, 1e-5f);
    EXPECT_NEAR(seen.g, 0.6f * 0.5f * 0.5f, 1e-5f);
    EXPECT_NEAR(seen.b, 0.4f, 1e-5f);
}

TEST(OceanShader, MirrorsSurroundingsAndRampByFresnel) {
    // Straight up: the ramp's end. No other light.
    const RenderedScene picture(
        pool("\"color\" 0 0 0 1, \"specularStrength\" 0, \"octaveCount\" 0, \"reflectionColor\" 1 0.5 1 1, "
             "\"reflectivity\" 0.5, \"refractiveIndex\" 1.5, \"environmentRamp\" [ { \"position\" 0, "
             "\"value\" 9 9 9 1, "
             "\"interpolation\" 1 }, { \"position\" 1, \"value\" 3 2 1 1, \"interpolation\" 1 } ]")
            .text());
    expectLayersAddUp(picture);
    const float fresnel = 0.2f * 0.2f;
    EXPECT_NEAR(picture.pixel("reflection", 8, 8).r, 0.5f * fresnel * 3.0f, 1e-5f);
    EXPECT_NEAR(picture.pixel("reflection", 8, 8).g, 0.25f * fresnel * 2.0f, 1e-5f);
    EXPECT_NEAR(picture.pixel("main", 8, 8).b, 0.5f * fresnel, 1e-5f);
}

TEST(OceanShader, LayersAddUpWithEverythingOn) {
    const std::string waves =
        "\"octaveCount\" 4, \"maxWavelength\" 3, \"minWavelength\" 0.4, \"foamRate\" 1, "
        "\"foamCutoff\" 0.5, \"crestScatter\" 0.7, \"crestHeight\" -0.2, ";
    for (const char* inside : {"\"transparency\" 0.6 0.8 0.7 1, \"refractionsOn\" on, \"lightAbsorbance\" "
                               "0.3, \"refractionBlur\" 0.2, "
                               "\"refractionBlurSamples\" 4",
                               "\"transparency\" 0.3 0.3 0.3 1", "\"displaced\" on"}) {
        TestScene scene = pool(waves + inside);
        const RenderedScene picture(scene.text());
        expectLayersAddUp(picture);
        float glow = 0.0f;
        for (int x = 0; x < 16; ++x) glow += picture.pixel("indirect", x, 7).g;
        EXPECT_GT(glow, 0.0f) << "light through crests";
        scene.camera = "transform 1 0 0 0 0 0 -1 0 0 1 0 0 0 0 -1 1"; // looking up from below
        expectLayersAddUp(RenderedScene(scene.text()));
    }
}

TEST(OceanShader, BendsItsNormalByAConnectedHeight) {
    TestScene scene = pool("\"octaveCount\" 0, \"heightInput\" = \"slope\", \"normalBlur\" 0.5");
    scene.contents = "link \"orca-test-shaders.so\"\n"
                     "declare shader scalar \"testSlope\" ( vector \"slope\" ) version 1 end declare\n"
                     "shader \"slope\" \"testSlope\" ( \"slope\" 0.75 0 -0.5 )\n" +
                     scene.contents;
    scene.passes = {"normal"};
    scene.passFlags = {};
    for (const char* state : {"", "\"displaced\" on"}) {
        TestScene variant = scene;
        const std::string anchor = "\"normalBlur\" 0.5";
        variant.contents.replace(variant.contents.find(anchor), anchor.size(),
                                 anchor + (*state ? std::string(", ") + state : ""));
        const RenderedScene picture(variant.text());
        ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
        const miColor normal = picture.pixel("normal", 6, 10);
        const float length = std::sqrt(0.75f * 0.75f + 1.0f + 0.5f * 0.5f);
        EXPECT_NEAR(normal.r, -0.75f / length, 1e-4f) << state;
        EXPECT_NEAR(normal.g, 1.0f / length, 1e-4f) << state;
        EXPECT_NEAR(normal.b, 0.5f / length, 1e-4f) << state;
    }
}

/// Turned by a quarter about the upright axis: what slopes along the object's x slopes along the world's -z.
TEST(OceanShader, TakesAConnectedHeightInObjectSpaceWhereTheObjectSaysSo) {
    const std::string reference = "data \"reference\" \"orcaReferenceObject\" ( ) end data\n"
                                  "data \"both\" \"orcaGatherSettings\" ( ) data \"reference\" end data\n"
                                  "data \"other\" \"orcaGatherSettings\" ( ) end data\n";
    const auto normalWith = [&](const std::string& data) {
        TestScene scene =
            pool("\"octaveCount\" 0, \"heightInput\" = \"slope\", \"normalBlur\" 0.5, \"displaced\" on");
        scene.contents = "link \"orca-test-shaders.so\"\n"
                         "declare shader scalar \"testSlope\" ( vector \"slope\" ) version 1 end declare\n"
                         "shader \"slope\" \"testSlope\" ( \"slope\" 0.75 0 0 )\n" +
                         reference + scene.contents;
        const std::string object = "object \"sea_mesh\" ", instance = "instance \"sea\" \"sea_mesh\" ";
        scene.contents.insert(scene.contents.find(object) + object.size(), data);
        scene.contents.insert(scene.contents.find(instance) + instance.size(),
                              "transform 0 0 1 0 0 1 0 0 -1 0 0 0 3 0 2 1 ");
        scene.passes = {"normal"};
        scene.passFlags = {};
        const RenderedScene picture(scene.text());
        EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
        return picture.pixel("normal", 6, 10);
    };
    for (const char* inWorld : {"", "data \"other\" "}) {
        const miColor normal = normalWith(inWorld);
        EXPECT_NEAR(normal.r, -0.6f, 1e-4f) << inWorld;
        EXPECT_NEAR(normal.b, 0.0f, 1e-4f) << inWorld;
    }
    for (const char* inObject : {"data \"reference\" ", "data \"both\" "}) {
        const miColor normal = normalWith(inObject);
        EXPECT_NEAR(normal.r, 0.0f, 1e-4f) << inObject;
        EXPECT_NEAR(normal.g, 0.8f, 1e-4f) << inObject;
        EXPECT_NEAR(normal.b, 0.6f, 1e-4f) << inObject;
    }
}

TEST(OceanShader, RefractsIntoTheEnvironmentWithoutTracing) {
    TestScene scene = pool(std::string(WATER) + "\"octaveCount\" 0, \"transparency\" 1 1 1 1, "
                                                "\"refractionsOn\" on, \"refractionLimit\" 0");
    scene.extraOptions = "trace off";
    scene.contents += "link \"orca-test-shaders.so\"\ndeclare shader color \"testSky\" ( color \"color\" ) "
                      "version 1 end declare\n";
    std::string text = scene.text();
    const std::string lens = "lens \"orcaFrameBufferLens\"";
    // The camera stands behind the contents, so the declaration is known there.
    const std::size_t camera = text.find("camera \"cam\"");
    const std::size_t contents = text.find("link \"orca-test-shaders.so\"");
    const std::string declared = text.substr(contents, text.find("end declare\n", contents) + 12 - contents);
    text.erase(contents, declared.size());
    text.insert(camera, declared);
    text.insert(text.find(lens), "environment \"testSky\" ( \"color\" 0.8 0.6 0.4 1 )\n");
    const RenderedScene picture(text);
    expectLayersAddUp(picture);
    EXPECT_NEAR(picture.pixel("main", 4, 4).r, 0.4f, 1e-5f); // its lower half
    EXPECT_NEAR(picture.pixel("refraction", 4, 4).r, 0.4f, 1e-5f);
}

} // namespace
} // namespace orca::test
