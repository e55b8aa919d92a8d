// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace orca::test {
namespace {

constexpr float floatNoise = 1e-5f;

void expectNear(const miColor& a, const miColor& b, float tolerance, const char* what) {
    EXPECT_NEAR(a.r, b.r, tolerance) << what;
    EXPECT_NEAR(a.g, b.g, tolerance) << what;
    EXPECT_NEAR(a.b, b.b, tolerance) << what;
}

miColor sum(const miColor& a, const miColor& b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b, a.a + b.a};
}

/// A floor with a card above it that shades half of it, under two lights.
std::string shadedFloor() {
    return lambert("white", "\"color\" 0.9 0.8 0.7 1, \"diffuse\" 0.9, \"ambientColor\" 0.05 0.02 0.01 1, "
                            "\"incandescence\" 0.01 0.02 0.03 1") +
           lambert("tinted", "", "0.5 0.25 0.125 1") + card("floor", "white", 0, 0, 0, 8) +
           card("roof", "tinted", -4, 0, 1, 4, "visible off") + directionalLight("sun", "", "0 0 -1") +
           pointLight("lamp", "\"intensity\" 0.5, \"color\" 1 0.5 0.25 1", 1, 0.5f, 3);
}

TEST(Passes, UnshadowedMinusRemovedIsShadowedAtEveryPixel) {
    TestScene scene;
    scene.passes = {"diffuse",          "diffuseNoShadow",          "shadow",
                    "directIrradiance", "directIrradianceNoShadow", "rawShadow"};
    scene.contents = shadedFloor();
    scene.members = {"floor", "roof", "sun_inst", "lamp_inst"};
    const RenderedScene picture(scene.text());
    int shaded = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const miColor removed = picture.pixel("shadow", x, y);
            expectNear(sum(picture.pixel("diffuse", x, y), removed), picture.pixel("diffuseNoShadow", x, y),
                       floatNoise, "diffuse");
            expectNear(sum(picture.pixel("directIrradiance", x, y), picture.pixel("rawShadow", x, y)),
                       picture.pixel("directIrradianceNoShadow", x, y), floatNoise, "irradiance");
            if (removed.r > 0.1f) ++shaded;
        }
    EXPECT_GT(shaded, 64);
    EXPECT_LT(shaded, 192);
}

TEST(Passes, BeautyIsThePictureAndTheSumOfItsLayers) {
    TestScene scene;
    scene.baseState = "\"additivePasses\" on";
    scene.passes = {"beauty", "ambient", "diffuse", "incandescence", "indirect"};
    scene.contents = shadedFloor();
    scene.members = {"floor", "roof", "sun_inst", "lamp_inst"};
    const RenderedScene picture(scene.text());
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const miColor beauty = picture.pixel("beauty", x, y);
            expectNear(beauty, picture.pixel("main", x, y), 2e-6f, "picture");
            miColor layers{};
            for (const char* layer : {"ambient", "diffuse", "incandescence", "indirect"})
                layers = sum(layers, picture.pixel(layer, x, y));
            expectNear(layers, beauty, 2e-6f, "layers");
        }
}

/// Four cards of different transparency before a fifth, all lit from the front without shadows.
TestScene cardStack() {
    TestScene scene;
    scene.traceDepth = "4 8 8";
    const char* const colors[] = {"0.9 0.1 0.1", "0.1 0.9 0.1", "0.1 0.1 0.9", "0.8 0.8 0.2", "0.3 0.6 0.9"};
    const char* const transparencies[] = {"0.5 0.5 0.5", "0.25 0.5 0.75", "0.6 0.6 0.6", "0.1 0.2 0.3",
                                          "0 0 0"};
    scene.members = {"sun_inst"};
    for (int i = 0; i < 5; ++i) {
        const std::string name = "layer" + std::to_string(i);
        scene.contents +=
            lambert(name, std::string("\"color\" ") + colors[i] + " 1, \"transparency\" " +
                              transparencies[i] + " 1, \"diffuse\" 1, \"incandescence\" 0.01 0.01 0.01 1");
        scene.contents += card("card" + std::to_string(i), name, 0, 0, -static_cast<float>(i), 8);
        scene.members.push_back("card" + std::to_string(i));
    }
    scene.contents += directionalLight("sun", "\"useRayTraceShadows\" off", "0 0 -1");
    return scene;
}

TEST(TransparentCards, ComposeFrontToBackInThePictureAndEveryPass) {
    TestScene scene = cardStack();
    scene.passes = {"beauty", "diffuse", "incandescence"};
    scene.passFlags = {
        "", "\"weightByOpacity\" on, \"shadowed\" on, \"maxReflectionLevel\" 9, \"maxRefractionLevel\" 9",
        ""};
    const RenderedScene picture(scene.text());

    const float color[5] = {0.9f, 0.1f, 0.1f, 0.8f, 0.3f}; // red
    const float transmission[5] = {0.5f, 0.25f, 0.6f, 0.1f, 0.0f};
    float beauty = 0.0f;
    float diffuse = 0.0f;
    float incandescence = 0.0f;
    float through = 1.0f;
    for (int i = 0; i < 5; ++i) {
        beauty += through * ((1.0f - transmission[i]) * color[i] + 0.01f);
        diffuse += through * (1.0f - transmission[i]) * color[i];
        incandescence += through * 0.01f;
        through *= transmission[i];
    }
    EXPECT_NEAR(picture.pixel("main", 8, 8).r, beauty, floatNoise);
    EXPECT_NEAR(picture.pixel("beauty", 8, 8).r, beauty, floatNoise);
    EXPECT_NEAR(picture.pixel("diffuse", 8, 8).r, diffuse, floatNoise);
    EXPECT_NEAR(picture.pixel("incandescence", 8, 8).r, incandescence, floatNoise);
    expectNear(picture.pixel("beauty", 3, 12), picture.pixel("main", 3, 12), floatNoise, "all channels");
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
    scene.members = {"window", "wall", "sun_inst"};
    const RenderedScene picture(scene.text());
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
                     lambert("white", "\"color\" 1 1 1 1, \"diffuse\" 1") +
                     card("floor", "white", 0, 0, 0, 8) +
                     card("roof", "white", -4, 0, 1, 4, "visible off data \"notDiffuse\"") +
                     directionalLight("sun", "", "0 0 -1") +
                     directionalLight("extra", "\"intensity\" 0.5", "0 0 -1", "data \"notDiffuse\"");
    scene.members = {"floor", "roof", "sun_inst", "extra_inst"};
    const RenderedScene picture(scene.text());
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
    scene.members = {"window", "wall", "sun_inst"};
    const RenderedScene picture(scene.text());
    expectNear(picture.pixel("beauty", 8, 8), picture.pixel("main", 8, 8), floatNoise, "picture");
    EXPECT_NEAR(picture.pixel("diffuse", 8, 8).r, 0.5f * 1.0f, floatNoise);
    EXPECT_NEAR(picture.pixel("ambient", 8, 8).r, 0.25f, floatNoise); // the pane's own
    EXPECT_NEAR(picture.pixel("incandescence", 8, 8).r, 0.5f, floatNoise);
}

TEST(WriteModes, DecideHowAMaterialsValuesCombine) {
    const auto diffuseWith = [](const std::string& settings) {
        TestScene scene;
        scene.passes = {"diffuse", "incandescence"};
        scene.contents =
            lambert("m",
                    "\"color\" 1 1 1 1, \"diffuse\" 0.5, \"incandescence\" 0.25 0.25 0.25 1, " + settings) +
            card("card", "m", 0, 0, 0, 8) + directionalLight("a", "\"useRayTraceShadows\" off", "0 0 -1") +
            directionalLight("b", "\"useRayTraceShadows\" off, \"intensity\" 0.5", "0 0 -1");
        scene.members = {"card", "a_inst", "b_inst"};
        const RenderedScene picture(scene.text());
        EXPECT_NEAR(picture.pixel("main", 8, 8).r, 1.0f,
                    floatNoise); // the picture is the same whatever is written
        return std::pair(picture.pixel("diffuse", 8, 8).r, picture.pixel("incandescence", 8, 8).r);
    };
    const auto near = [](const std::pair<float, float>& got, float diffuse, float incandescence) {
        EXPECT_NEAR(got.first, diffuse, floatNoise);
        EXPECT_NEAR(got.second, incandescence, floatNoise);
    };
    near(diffuseWith("\"passWriteMode\" 0"), 0.0f, 0.0f);
    near(diffuseWith("\"passWriteMode\" 1"), 0.75f, 0.25f);
    near(diffuseWith("\"passWriteMode\" 2"), 0.0f, 0.0f);   // black stays black
    near(diffuseWith("\"passWriteMode\" 3"), 0.25f, 0.25f); // the second light replaces the first
    near(diffuseWith("\"passWriteMode\" 4"), 0.75f, 0.25f);
    near(diffuseWith("\"passWriteMode\" 1, \"passWriteFlags\" 1, \"passWriteScale\" 2"), 1.5f, 0.5f);
    near(diffuseWith("\"passWriteMode\" 1, \"passWriteScale\" 2"), 0.75f, 0.25f);
    near(diffuseWith("\"writePasses\" off"), 0.0f, 0.0f);
}

TEST(Background, GoesToTheBeautyPassesWhereNothingIsHit) {
    TestScene scene;
    scene.passes = {"beauty", "diffuse", "beautyNoReflectionRefraction"};
    scene.contents = lambert("m", "") + card("card", "m", 5, 0, 0, 1);
    scene.members = {"card"};
    const RenderedScene picture(scene.text());
    expectNear(picture.pixel("beauty", 0, 0), picture.pixel("main", 0, 0), 0.0f, "background");
}

TEST(Determinism, EveryBufferHasTheSameBitsForAnyNumberOfThreadsAndTileSize) {
    TestScene scene = cardStack();
    scene.width = 40;
    scene.height = 24;
    scene.samples = "0 3";
    scene.extraOptions = "contrast 0.01 0.01 0.01 0.01 jitter 1 filter mitchell 4 4";
    scene.passes = {"beauty", "diffuse", "shadow", "opacity", "normal", "facingRatio"};
    scene.contents += lambert("post", "") + card("post", "post", 0.3f, 0.2f, 2, 0.5f) +
                      pointLight("soft", "\"lightRadius\" 0.5, \"shadowRays\" 4", 2, 2, 4);
    scene.members.push_back("post");
    scene.members.push_back("soft_inst");
    const auto with = [](int threads, int tileSize) {
        RenderedScene::Settings settings;
        settings.threads = threads;
        settings.tileSize = tileSize;
        return settings;
    };
    const RenderedScene one(scene.text(), with(1, 8));
    const RenderedScene four(scene.text(), with(4, 8));
    const RenderedScene otherTiles(scene.text(), with(2, 5));
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

TEST(Accounting, NoPinOrMemoryOutlivesAPicture) {
    TestScene scene = cardStack();
    scene.passes = {"beauty", "diffuse"};
    RenderedScene picture(scene.text());
    EXPECT_EQ(picture.database().pinsHeld(), 0);
    EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
}

} // namespace
} // namespace orca::test
