// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>
#include <thread>

namespace orca::test {
namespace {

constexpr float floatNoise = 1e-5f;

std::string plainMaterial(const std::string& name, const std::string& shader, const std::string& color = "") {
    return "material \"" + name + "\" \"" + shader + "\" ( " + (color.empty() ? "" : "\"color\" " + color) +
           " ) end material\n";
}

TEST(Environment, IsSeenDirectlyInMirrorsAndThroughTransparency) {
    TestScene scene;
    scene.baseState = "\"additivePasses\" on";
    scene.passes = {"beauty"};
    scene.cameraStatements = "environment \"testSky\" ( \"color\" 0.8 0.6 0.4 1 )\n";
    scene.contents =
        lambert("pane", "\"color\" 0 0 0 1, \"transparency\" 0.5 0.25 1 1") +
        lambert("glass", "\"color\" 0 0 0 1, \"transparency\" 0.5 0.5 0.5 1, \"refractionsOn\" on") +
        card("window", "pane", -1, 1, 0, 1) + card("lens", "glass", 1, 1, 0, 1);
    const RenderedScene picture(scene);
    EXPECT_NEAR(picture.pixel("main", 2, 2).r, 0.8f, floatNoise);
    EXPECT_NEAR(picture.pixel("main", 4, 12).r, 0.5f * 0.8f, floatNoise);
    EXPECT_NEAR(picture.pixel("main", 4, 12).g, 0.25f * 0.6f, floatNoise);
    EXPECT_NEAR(picture.pixel("main", 12, 12).b, 0.5f * 0.4f, floatNoise);
    expectLayersAddUp(picture, {"beauty"});

    // A material's own goes before the camera's, also for the rays that leave it.
    scene.contents = "material \"mirror\" \"testMirror\" ( ) environment \"testSky\" ( \"color\" 0 0 0.5 1 ) "
                     "end material\n" +
                     card("glass", "mirror", 0, 0, 0, 1);
    expectColor(RenderedScene(scene).middle(), {0, 0, 0.5f, 1}, floatNoise);
}

TEST(DepthLimits, EndReflectionsOfForeignShadersWhereTheOptionsSay) {
    for (const auto& [depth, rays] : {std::pair("3 3 8", 3u), {"5 5 2", 2u}, {"0 3 8", 0u}}) {
        TestScene scene; // two mirrors face each other
        scene.traceDepth = depth;
        scene.contents = plainMaterial("mirror", "testMirror", "0 1 0 1") +
                         card("far", "mirror", 0, 0, -1, 8) +
                         card("near", "mirror", 0, 0, 1, 8, "visible off");
        const RenderedScene picture(scene);
        EXPECT_NEAR(picture.middle().g, 1.0f, floatNoise) << depth; // the mirror's own colour where they end
        EXPECT_EQ(picture.result().statistics.rays.reflection, 256 * rays) << depth;
    }
}

TEST(Volumes, ActOnEyeRaysReflectionsAndTheRayThatMisses) {
    TestScene scene;
    scene.contents = plainMaterial("white", "testFlat", "1 1 1 1") + plainMaterial("mirror", "testMirror") +
                     card("wall", "white", -1, 0, 0, 1) + card("glass", "mirror", 1, 0, 0, 1) +
                     card("behind", "white", 1, 0, 4, 2, "visible off");
    scene.cameraStatements = "volume \"testHaze\" ( \"color\" 0.05 0.1 0 1 )\n";
    const RenderedScene picture(scene);
    EXPECT_NEAR(picture.pixel("main", 4, 8).r, std::exp(-0.5f), 1e-4f);
    EXPECT_NEAR(picture.pixel("main", 12, 8).r, std::exp(-0.05f * 14.0f), 1e-4f);
    EXPECT_NEAR(picture.pixel("main", 12, 8).b, 1.0f, floatNoise);
}

TEST(Volumes, AskLightsForTheirFog) {
    TestScene scene;
    scene.contents =
        pointLight(
            "lamp",
            "\"color\" 1 0.5 0 1, \"intensity\" 2, \"decayRate\" 2, \"fogRadius\" 6, \"fogIntensity\" 0.5", 0,
            0, 3) +
        white() + card("wall", "white", 0, 0, 0, 4);
    const RenderedScene clear(scene);
    scene.contents +=
        "incremental camera \"cam\" volume \"testLightFog\" ( \"lights\" [ \"lamp_inst\" ] ) end camera\n";
    const RenderedScene foggy(scene);
    // In the middle of the rays, which are 10 long, and the same for all of them: no decay, unlike on the
    // wall.
    constexpr float middle = 5.0f, radius = 6.0f;
    const float share = middle / (radius + radius * radius - middle * middle);
    for (const int x : {2, 8}) {
        const miColor before = clear.pixel("main", x, 8), after = foggy.pixel("main", x, 8);
        EXPECT_NEAR(after.r - before.r, 2.0f * 0.5f * share * share, 1e-5f) << x;
        EXPECT_NEAR(after.g - before.g, 0.5f * share * share, 1e-5f) << x;
    }
    EXPECT_GT(clear.pixel("main", 8, 8).r, 1.2f * clear.pixel("main", 2, 8).r);
}

TEST(Volumes, SeeTheFogOfASpotLightInItsConeAndItsShadow) {
    struct Spot {
        double penumbra, dropoff, spread, fog;
        int decay;
    };
    for (const Spot& spot :
         {Spot{0, 0, 1, 1, 0}, {8, 0, 0.5, 0.4, 0}, {-10, 3, 2, 1.5, 2}, {0, 0, 0, 1, 0}}) {
        TestScene
            scene; // the lamp is 3 above the middle and shines down; something is in its way on the right
        scene.contents =
            fmt::format("light \"lamp\" \"orcaVelaSpotLight\" ( \"intensity\" 2, \"coneAngle\" 60, "
                        "\"penumbraAngle\" {}, \"dropoff\" {}, \"fogSpread\" {}, \"fogIntensity\" {}, "
                        "\"decayRate\" {} ) origin 0 3 0 direction 0 -1 0 spread 0 end light\n"
                        "instance \"lamp_inst\" \"lamp\" end instance\n",
                        spot.penumbra, spot.dropoff, spot.spread, spot.fog, spot.decay) +
            white() + turnedCard("shutter", "white", 1, 1, 0, 1, 90) +
            "incremental camera \"cam\" volume \"testLightFog\" ( \"lights\" [ \"lamp_inst\" ], \"depth\" 10 "
            ") "
            "end camera\n";
        const RenderedScene picture(scene);
        picture.eachPixel([&](int i, int j) {
            const double x = (i + 0.5) / 4 - 2, below = 3 - (j + 0.5) / 4 + 2,
                         distance = std::hypot(x, below);
            const double angle = std::atan2(std::abs(x), below) * 180 / std::numbers::pi;
            const double rim = 30 + std::max(0.0, spot.penumbra), inside = rim - angle;
            const double t = spot.penumbra == 0 ? 1 : std::min(1.0, inside / std::abs(spot.penumbra));
            const bool dark = below > 2 && x > 0 && x * 2 / below < 2;
            const double density =
                spot.spread > 0 ? std::pow(1 - angle * angle / (rim * rim), 1 / spot.spread) : 0;
            const double expected = inside <= 0 || dark ? 0
                                                        : 2 * spot.fog * density * t * t * (3 - 2 * t) *
                                                              std::pow(below / distance, spot.dropoff) /
                                                              std::pow(std::max(1.0, distance), spot.decay);
            EXPECT_NEAR(picture.pixel("main", i, j).r, expected, 1e-4);
        });
    }
}

TEST(Rasterizer, CompositesTheSamePictureAsTracedTransparency) {
    TestScene scene;
    scene.traceDepth = "2 4 4";
    scene.passes = {"beauty", "diffuse", "diffuseMaterialColor"};
    scene.passFlags = {"", "\"shadowed\" on, \"weightByOpacity\" on", ""};
    scene.cameraStatements = "environment \"testSky\" ( \"color\" 0.8 0.6 0.4 1 )\n";
    scene.contents = directionalLight("sun", "\"useRayTraceShadows\" off", "0 0 -1");
    float z = 0;
    for (const char* transparency : {"0.5 0.25 0.75", "0.4 0.4 0.4", "0.2 0.2 0.2"}) {
        const std::string name = fmt::format("film {}", --z);
        scene.contents += lambert(name, std::string("\"color\" 0.9 0.5 0.25 1, \"diffuse\" 1, "
                                                    "\"transparency\" ") +
                                            transparency + " 1") +
                          card("card of " + name, name, 0, 0, z, 1);
    }
    for (const char* baseState : {"", "\"additivePasses\" on"}) {
        SCOPED_TRACE(baseState);
        scene.baseState = baseState;
        scene.extraOptions.clear();
        const RenderedScene traced(scene);
        scene.extraOptions = "scanline rapid\nsamples collect 1";
        const RenderedScene composited(scene);
        for (int x = 0; x < 16; ++x)
            for (const char* layer : {"main", "diffuse", "beauty"}) {
                const miColor expected = traced.pixel(layer, x, 8), seen = composited.pixel(layer, x, 8);
                if (layer != std::string("beauty")) expectColor(seen, expected, floatNoise, layer);
                EXPECT_NEAR(seen.a, expected.a, floatNoise) << layer << ' ' << x;
            }
        expectLayersAddUp(composited, {"beauty"});
        EXPECT_EQ(composited.result().statistics.rays.transparent, 0u);
        EXPECT_GT(traced.result().statistics.rays.transparent, 0u);
    }
}

TEST(SharedEdges, AreCrossedOnce) {
    // The diagonals of the panes lie in the middle of pixels; how a hit there rounds differs from height to
    // height.
    for (const float height : {0.1f, -0.7f, 1.3f, -1.9f, 2.2f})
        for (const char* options : {"shadow on", "scanline rapid", "shadow sort", "shadow segments"}) {
            TestScene scene;
            scene.extraOptions = options;
            scene.traceDepth = "2 4 4";
            scene.contents =
                directionalLight("sun", "\"useRayTraceShadows\" on", "0 0 -1") +
                lambert("half", "\"color\" 0 0 0 1, \"transparency\" 0.5 0.5 0.5 1", "0.5 0.5 0.5 1") +
                white() + card("pane", "half", 0, 0, height, 8) + card("floor", "white", 0, 0, -3, 16);
            const RenderedScene picture(scene);
            picture.eachPixel([&](int x, int y) {
                EXPECT_NEAR(picture.pixel("main", x, y).r, 0.25f, floatNoise) << options << ' ' << height;
            });
        }
}

TEST(ForeignLights, FeedThePassesAsLongAsNoLightOfTheLibraryRanBefore) {
    TestScene scene;
    scene.passes = {"beauty", "diffuse"};
    scene.contents =
        passMask("onlyBeauty", "1") + white() + card("floor", "white", 0, 0, 0, 8) +
        "light \"plain\" \"testPlainLight\" ( \"color\" 0.25 0.5 0.75 1 ) direction 0 0 -1 end light\n"
        "instance \"plain_inst\" \"plain\" data \"onlyBeauty\" end instance\n" +
        directionalLight("ours", "\"intensity\" 0.5", "0 0 -1");
    const RenderedScene picture(scene);
    EXPECT_NEAR(picture.pixel("main", 8, 8).r, 0.75f, floatNoise);
    EXPECT_NEAR(picture.pixel("beauty", 8, 8).r, 0.75f, floatNoise);
    EXPECT_NEAR(picture.pixel("beauty", 8, 8).b, 1.25f, floatNoise);
    EXPECT_NEAR(picture.pixel("diffuse", 8, 8).r, 0.5f, floatNoise); // the mask keeps the foreign light out
}

TEST(Faults, OfAShaderAreReportedOnceAndCostOnlyTheirOwnPixels) {
    TestScene scene;
    scene.contents = plainMaterial("nan", "testNotANumber") + plainMaterial("throws", "testFails") +
                     plainMaterial("refuses", "testRefuses") + card("top", "refuses", 0, 1, 0, 0.5f) +
                     plainMaterial("white", "testFlat", "1 1 1 1") + card("left", "nan", -1, 0, 0, 0.5f) +
                     card("right", "throws", 1, 0, 0, 0.5f) + card("wall", "white", 0, 0, -1, 8);
    const RenderedScene picture(scene.text());
    EXPECT_EQ(picture.pixel("main", 4, 8).r, 0.0f);
    EXPECT_EQ(picture.pixel("main", 12, 8).r, 0.0f);
    EXPECT_EQ(picture.pixel("main", 8, 12).r, 0.0f);
    EXPECT_EQ(picture.pixel("main", 8, 2).r, 1.0f);
    for (const std::string shader : {"testNotANumber", "testFails"})
        EXPECT_EQ(std::ranges::count_if(
                      picture.complaints(),
                      [&](const std::string& text) { return text.find(shader) != std::string::npos; }),
                  1)
            << shader;
    EXPECT_TRUE(picture.logged("gives up"));
}

TEST(Buffers, ThatNothingWroteOrNothingDeclaresAreNamed) {
    TestScene scene;
    scene.passes = {"diffuse", "reflection"};
    scene.contents = plainMaterial("white", "testFlat", "1 1 1 1") + card("wall", "white", 0, 0, 0, 8);
    std::string text = scene.text();
    const std::string declared = "framebuffer \"reflection\"";
    text.replace(text.find(declared), declared.size(), "framebuffer \"forgotten\"");
    const RenderedScene picture(text);
    EXPECT_TRUE(picture.logged("\"forgotten\""));
    EXPECT_TRUE(picture.logged("does not have"));
}

TEST(Stopping, EndsRayTreesThatWouldNeverEnd) {
    // Two rays leave every hit inside the box, a hundred hits deep.
    TestScene scene;
    scene.perspective = true;
    scene.traceDepth = "100 100 100";
    scene.contents = surface("glass", "orcaVelaBlinn",
                             "\"color\" 0 0 0 1, \"transparency\" 1 1 1 1, \"refractionsOn\" on, "
                             "\"refractiveIndex\" 1.5, \"reflectionLimit\" 100, \"refractionLimit\" 100") +
                     box("block", "glass", 1, 1, 1);
    std::atomic<bool> stop{false};
    std::thread impatient([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        stop = true;
    });
    RenderedScene::Settings settings;
    settings.stop = &stop;
    const RenderedScene picture(scene, settings);
    impatient.join();
    EXPECT_TRUE(picture.result().interrupted);
}

} // namespace
} // namespace orca::test
