// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

constexpr const char* SUN = "\"intensity\" 1";

std::string scatterer(const std::string& parameters) {
    return lambert("wax", "\"diffuse\" 0, " + parameters);
}

miColor middleOf(const RenderedScene& picture) {
    return picture.pixel("main", picture.width() / 2, picture.height() / 2);
}

void expectColor(const miColor& c, float r, float g, float b, float tolerance, const std::string& what = {}) {
    EXPECT_NEAR(c.r, r, tolerance) << what;
    EXPECT_NEAR(c.g, g, tolerance) << what;
    EXPECT_NEAR(c.b, b, tolerance) << what;
}

TEST(Scatter, OfAnEvenlyLitSurfaceIsItsAlbedo) {
    for (const char* radius : {"0 0 0", "0.3 0.3 0.3", "0.5 0.1 0", "9 0.4 0.01"}) {
        TestScene scene;
        scene.contents =
            scatterer(fmt::format("\"scatterColor\" 0.9 0.6 0.3 1, \"scatterRadius\" {} 1", radius)) +
            card("slab", "wax", 0, 0, 0, 500) + directionalLight("sun", SUN, "0 0 -1");
        scene.members = {"slab", "sun_inst"};
        const RenderedScene picture(scene.text());
        ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
        expectColor(middleOf(picture), 0.9f, 0.6f, 0.3f, 1e-4f, radius);
    }
}

TEST(Scatter, TakesTheLightThatTheSurfaceDoesNotSendBackItself) {
    TestScene scene;
    scene.passes = {"beauty", "diffuse", "indirect"};
    scene.contents = lambert("wax", "\"color\" 1 0.5 0.25 1, \"diffuse\" 0.5, \"scatterColor\" 1 1 1 1") +
                     card("slab", "wax", 0, 0, 0, 500) + directionalLight("sun", SUN, "0 0 -1");
    scene.members = {"slab", "sun_inst"};
    const RenderedScene picture(scene.text());
    expectColor(picture.pixel("diffuse", 8, 8), 0.5f, 0.25f, 0.125f, 1e-5f);
    expectColor(picture.pixel("indirect", 8, 8), 0.5f, 0.75f, 0.875f, 1e-4f);
    expectColor(picture.pixel("beauty", 8, 8), 1, 1, 1, 1e-4f);
    expectColor(middleOf(picture), 1, 1, 1, 1e-4f);
}

TEST(Scatter, WithoutAPathIsLambert) {
    const auto lit = [](const std::string& material) {
        TestScene scene;
        scene.contents = material + lambert("roof", "\"color\" 0 0 0 1") + card("floor", "wax", 0, 0, 0, 3) +
                         card("blocker", "roof", 0.4f, 0.1f, 1, 0.4f, "visible off") +
                         pointLight("lamp", "\"intensity\" 1", 1, 0.5f, 2) +
                         directionalLight("sun", "\"intensity\" 0.3", "-0.5 0.2 -1");
        scene.members = {"floor", "blocker", "lamp_inst", "sun_inst"};
        const RenderedScene picture(scene.text());
        return picture.words("main");
    };
    const std::vector<float> plain = lit(lambert("wax", "\"color\" 0.7 0.4 0.2 1, \"diffuse\" 1"));
    const std::vector<float> scattered =
        lit(scatterer("\"scatterColor\" 0.7 0.4 0.2 1, \"scatterRadius\" 0 0 0 1"));
    ASSERT_EQ(plain.size(), scattered.size());
    for (std::size_t i = 0; i < plain.size(); ++i) ASSERT_NEAR(plain[i], scattered[i], 1e-6f) << i;
}

/// A white object between two suns never shines brighter than they make a white card, however thin it is and
/// whatever its corners.
TEST(Scatter, NeverSendsBackMoreThanTheSurfaceReceives) {
    for (const float thickness : {0.01f, 0.2f, 1.0f}) {
        TestScene scene;
        scene.contents = scatterer("\"scatterColor\" 1 1 1 1, \"scatterRadius\" 1 0.3 0.05 1") +
                         box("leaf", "wax", 1.2f, 1.2f, thickness) +
                         directionalLight("front", SUN, "0 0 -1") + directionalLight("back", SUN, "0 0 1");
        scene.members = {"leaf", "front_inst", "back_inst"};
        const RenderedScene picture(scene.text());
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 16; ++x) {
                const miColor c = picture.pixel("main", x, y);
                ASSERT_LE(std::max({c.r, c.g, c.b}), 1.0001f) << thickness << ' ' << x << ' ' << y;
            }
        // The sides are unlit; in the middle of a thin leaf there is nothing but light.
        if (thickness == 0.01f) expectColor(middleOf(picture), 1, 1, 1, 0.03f);
    }
}

TEST(Scatter, LetsLightThroughThinPartsOnly) {
    const auto backLit = [](float thickness) {
        TestScene scene;
        scene.contents =
            scatterer("\"scatterColor\" 1 1 1 1, \"scatterRadius\" 0.5 0.2 0.05 1, \"scatterSamples\" 256") +
            box("leaf", "wax", 9, 9, thickness / 2) + directionalLight("back", SUN, "0 0 1");
        scene.members = {"leaf", "back_inst"};
        return middleOf(RenderedScene(scene.text()));
    };
    const miColor thin = backLit(0.01f);
    // Half of the light leaves on either side of a leaf that is thin to it.
    expectColor(thin, 0.5f, 0.5f, 0.5f, 0.05f);
    const miColor thick = backLit(0.4f);
    EXPECT_LT(thick.r, thin.r);
    EXPECT_GT(thick.r, 1.2f * thick.g); // red reaches furthest
    EXPECT_GT(thick.g, 2 * thick.b);
    expectColor(backLit(30.0f), 0, 0, 0, 1e-5f);
}

/// Light falls through a square hole on a large white card; around it the card glows as the profile says.
TEST(Scatter, SpreadsASpotAsTheProfileFallsOff) {
    constexpr float half = 0.4f;
    constexpr float path = 1.0f;
    TestScene scene;
    scene.width = 9; // a row of pixels through the spot's middle
    scene.height = 1;
    scene.viewWidth = 3.6f;
    scene.contents = scatterer(fmt::format("\"scatterColor\" 0.8 0.8 0.8 1, \"scatterRadius\" {0} {0} {0} 1, "
                                           "\"scatterSamples\" 80000",
                                           path)) +
                     card("floor", "wax", 0, 0, 0, 40) + lambert("black", "\"color\" 0 0 0 1") +
                     directionalLight("sun", SUN, "0 0 -1");
    scene.members = {"floor", "sun_inst"};
    const float far = 30;
    const struct {
        const char* name;
        float x, y;
    } shades[] = {
        {"left", -far - half, 0}, {"right", far + half, 0}, {"up", 0, far + half}, {"down", 0, -far - half}};
    for (const auto& s : shades) {
        scene.contents += card(s.name, "black", s.x, s.y, 1, far, "visible off trace off");
        scene.members.push_back(s.name);
    }
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();

    // Albedo 0.8 makes the shape 1.1: the decay is 1 / 1.1 of the mean free path.
    constexpr double decay = path / 1.1;
    const auto profile = [](double r) {
        return (std::exp(-r / decay) + std::exp(-r / (3 * decay))) / (8 * 3.14159265358979 * decay * r);
    };
    for (int x = 4; x < 9; ++x) {
        const double at = (x - 4) * 0.4;
        double expected = 0.0;
        constexpr int steps = 400; // even: no midpoint lies on the pole in the spot's middle
        constexpr double cell = 2 * half / steps;
        for (int i = 0; i < steps; ++i)
            for (int j = 0; j < steps; ++j) {
                const double u = -half + (i + 0.5) * cell - at;
                const double v = -half + (j + 0.5) * cell;
                expected += 0.8 * profile(std::sqrt(u * u + v * v)) * cell * cell;
            }
        EXPECT_NEAR(picture.pixel("main", x, 0).r, expected, 0.03 * expected + 2e-4) << at;
    }
}

TEST(Scatter, DoesNotCrossToAnotherObject) {
    TestScene scene;
    scene.contents = scatterer("\"scatterColor\" 1 1 1 1, \"scatterRadius\" 2 2 2 1") +
                     lambert("black", "\"color\" 0 0 0 1") + card("lit", "wax", 1, 0, 0, 1) +
                     card("shaded", "wax", -1, 0, 0, 1) + card("roof", "black", -1, 0, 1, 1, "visible off") +
                     directionalLight("sun", SUN, "0 0 -1");
    scene.members = {"lit", "shaded", "roof", "sun_inst"};
    const RenderedScene picture(scene.text());
    expectColor(picture.pixel("main", 8, 8), 1, 1, 1, 1e-4f);
    expectColor(picture.pixel("main", 7, 8), 0, 0, 0, 0.0f);
}

TEST(Scatter, IsTheSameOnAnyThreadsAndPartOfBeautyAndIndirect) {
    TestScene scene;
    scene.passes = {"beauty", "indirect", "diffuse"};
    scene.width = scene.height = 24;
    scene.contents = scatterer("\"scatterColor\" 0.9 0.5 0.3 1, \"scatterRadius\" 0.6 0.3 0.1 1") +
                     lambert("black", "\"color\" 0 0 0 1") + box("body", "wax", 0.7f, 0.5f, 0.4f) +
                     card("wall", "wax", 1.2f, 0, 0, 0.4f) + card("screen", "black", -0.4f, 0.2f, 2, 0.5f) +
                     directionalLight("sun", SUN, "-0.4 -0.3 -1") +
                     pointLight("lamp", "\"intensity\" 3, \"lightRadius\" 0.3, \"shadowRays\" 4", 1, -1, -2);
    scene.members = {"body", "wall", "screen", "sun_inst", "lamp_inst"};
    RenderedScene::Settings many;
    many.threads = 3;
    many.tileSize = 5;
    const RenderedScene one(scene.text());
    const RenderedScene three(scene.text(), many);
    EXPECT_EQ(one.words("main"), three.words("main"));
    EXPECT_EQ(one.words("indirect"), three.words("indirect"));
    float brightest = 0;
    for (int y = 0; y < 24; ++y)
        for (int x = 0; x < 24; ++x) {
            const miColor main = one.pixel("main", x, y);
            const miColor beauty = one.pixel("beauty", x, y);
            const miColor indirect = one.pixel("indirect", x, y);
            const miColor diffuse = one.pixel("diffuse", x, y);
            ASSERT_NEAR(beauty.r, main.r, 1e-5f * main.r + 2e-6f);
            ASSERT_NEAR(indirect.r + diffuse.r, main.r, 1e-5f * main.r + 2e-6f);
            brightest = std::max(brightest, indirect.r);
        }
    EXPECT_GT(brightest, 0.2f);
}

} // namespace
} // namespace orca::test
