// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace orca::test {
namespace {

constexpr float floatNoise = 1e-5f;

/// Four cards of different transparency before a fifth, all lit from the front without shadows.
TestScene cardStack() {
    TestScene scene;
    scene.traceDepth = "4 8 8";
    const char* const colors[] = {"0.9 0.1 0.1", "0.1 0.9 0.1", "0.1 0.1 0.9", "0.8 0.8 0.2", "0.3 0.6 0.9"};
    const char* const transparencies[] = {"0.5 0.5 0.5", "0.25 0.5 0.75", "0.6 0.6 0.6", "0.1 0.2 0.3",
                                          "0 0 0"};
    for (int i = 0; i < 5; ++i) {
        const std::string name = "layer" + std::to_string(i);
        scene.contents +=
            lambert(name, std::string("\"color\" ") + colors[i] + " 1, \"transparency\" " +
                              transparencies[i] + " 1, \"diffuse\" 1, \"incandescence\" 0.01 0.01 0.01 1");
        scene.contents += card("card" + std::to_string(i), name, 0, 0, -static_cast<float>(i), 8);
    }
    scene.contents += directionalLight("sun", "\"useRayTraceShadows\" off", "0 0 -1");
    return scene;
}

TEST(PassMasks, ExcludedObjectsComeBackWhereThePassAdmitsThem) {
    // A clear pane that traces refraction in front of a card that every pass excludes.
    TestScene scene;
    scene.passes = {"beauty", "diffuse", "incandescence"};
    const std::string bounds = ", \"shadowed\" on, \"maxReflectionLevel\" 9, \"maxRefractionLevel\" 9";
    scene.passFlags = {"\"includeRefraction\" on" + bounds,
                       "\"seenInRefraction\" on, \"includeRefraction\" on" + bounds,
                       "\"seenInReflection\" on, \"includeRefraction\" on" + bounds};
    scene.contents =
        passMask("none", "0") +
        lambert("pane", "\"color\" 0 0 0 1, \"transparency\" 1 1 1 1, \"refractionsOn\" on") +
        lambert("white", "\"color\" 1 1 1 1, \"diffuse\" 1, \"incandescence\" 0.25 0.25 0.25 1") +
        card("window", "pane", 1, 0, 1, 1) + card("wall", "white", 0, 0, 0, 8, "data \"none\"") +
        directionalLight("sun", "\"useRayTraceShadows\" off", "0 0 -1");
    const RenderedScene picture(scene);
    // Seen directly: in no pass.
    EXPECT_NEAR(picture.pixel("main", 2, 8).r, 1.25f, floatNoise);
    for (const char* pass : {"beauty", "diffuse", "incandescence"})
        EXPECT_EQ(picture.pixel(pass, 2, 8).r, 0.0f) << pass;
    // Seen through the window: in the pass that admits refractions.
    EXPECT_NEAR(picture.pixel("main", 12, 8).r, 1.25f, floatNoise);
    EXPECT_EQ(picture.pixel("beauty", 12, 8).r, 0.0f);
    EXPECT_NEAR(picture.pixel("diffuse", 12, 8).r, 1.0f, floatNoise);
    EXPECT_EQ(picture.pixel("incandescence", 12, 8).r, 0.0f);
}

TEST(PassMasks, ExcludedOccludersAndLightsLeaveThePassAlone) {
    TestScene scene;
    scene.passes = {"beauty", "diffuse", "incandescence"}; // records 0, 1, 2
    scene.contents = passMask("notDiffuse", "5") +         // bits 0 and 2
                     white() + card("floor", "white", 0, 0, 0, 8) +
                     card("roof", "white", -4, 0, 1, 4, "visible off data \"notDiffuse\"") +
                     directionalLight("sun", "", "0 0 -1") +
                     directionalLight("extra", "\"intensity\" 0.5", "0 0 -1", "data \"notDiffuse\"");
    const RenderedScene picture(scene);
    EXPECT_NEAR(picture.pixel("beauty", 12, 8).r, 1.5f, floatNoise);
    EXPECT_NEAR(picture.pixel("diffuse", 12, 8).r, 1.0f, floatNoise); // without the second light
    EXPECT_NEAR(picture.pixel("beauty", 2, 8).r, 0.0f, floatNoise);
    EXPECT_NEAR(picture.pixel("diffuse", 2, 8).r, 1.0f, floatNoise); // and without the roof's shadow
}

TEST(LevelBounds, SuppressWhatIsOutsideAndLetDeeperLevelsThroughAsTheyShould) {
    TestScene scene;
    scene.baseState = "\"additivePasses\" on";
    scene.passes = {"beauty", "diffuse", "ambient", "incandescence"};
    const std::string shadowed = "\"shadowed\" on, \"maxReflectionLevel\" 9, ";
    scene.passFlags = {
        shadowed + "\"includeRefraction\" on, \"maxRefractionLevel\" 9",
        shadowed + "\"minRefractionLevel\" 1, \"maxRefractionLevel\" 9", // only what is seen through the pane
        shadowed + "\"maxRefractionLevel\" 0",
        shadowed + "\"maxRefractionLevel\" 0, \"includeRefraction\" on"};
    const std::string common =
        "\"color\" 1 1 1 1, \"ambientColor\" 0.25 0.25 0.25 1, \"incandescence\" 0.5 0.5 0.5 1, ";
    scene.contents =
        lambert("pane", common + "\"diffuse\" 0.125, \"transparency\" 0.5 0.5 0.5 1, \"refractionsOn\" on") +
        lambert("white", common + "\"diffuse\" 1") + card("window", "pane", 0, 0, 1, 8) +
        card("wall", "white", 0, 0, 0, 8) + directionalLight("sun", "\"useRayTraceShadows\" off", "0 0 -1");
    const RenderedScene picture(scene);
    expectColor(picture.pixel("beauty", 8, 8), picture.middle(), floatNoise);
    EXPECT_NEAR(picture.pixel("diffuse", 8, 8).r, 0.5f * 1.0f, floatNoise);
    EXPECT_NEAR(picture.pixel("ambient", 8, 8).r, 0.25f, floatNoise); // the pane's own
    EXPECT_NEAR(picture.pixel("incandescence", 8, 8).r, 0.5f, floatNoise);
}

TEST(Determinism, EveryBufferHasTheSameBitsForAnyNumberOfThreadsAndTileSize) {
    TestScene scene = cardStack();
    scene.width = 40;
    scene.height = 24;
    scene.samples = "0 3";
    scene.extraOptions =
        "contrast 0.01 0.01 0.01 0.01 jitter 1 filter mitchell 4 4 motion on motion steps 3 shutter 0 1";
    scene.passes = {"beauty", "diffuse", "shadow", "opacity", "normal", "facingRatio"};
    scene.contents +=
        lambert("wood", "") +
        card("post", "wood", 0.3f, 0.2f, 2, 0.5f, "motion transform 0 -1 0 0 1 0 0 0 0 0 1 0 0.2 -0.2 -2 1") +
        pointLight("soft", "\"lightRadius\" 0.5, \"shadowRays\" 4", 2, 2, 4);
    const auto with = [](int threads, int tileSize) {
        RenderedScene::Settings settings;
        settings.threads = threads;
        settings.tileSize = tileSize;
        return settings;
    };
    const RenderedScene one(scene, with(1, 8));
    const RenderedScene four(scene, with(4, 8));
    const RenderedScene otherTiles(scene, with(2, 5));
    EXPECT_GT(one.result().statistics.rays.samples, 40u * 24u);
    for (const char* buffer : {"main", "beauty", "diffuse", "shadow", "opacity", "normal", "facingRatio"}) {
        const std::vector<float> expected = one.words(buffer);
        for (const RenderedScene* other : {&four, &otherTiles}) {
            const std::vector<float> words = other->words(buffer);
            ASSERT_EQ(words.size(), expected.size());
            EXPECT_EQ(std::memcmp(words.data(), expected.data(), words.size() * sizeof(float)), 0) << buffer;
        }
    }
}

} // namespace
} // namespace orca::test
