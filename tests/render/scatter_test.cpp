// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

const std::string sun = directionalLight("sun", "\"intensity\" 1", "0 0 -1");

std::string scatterer(const std::string& parameters) {
    return lambert("wax", "\"diffuse\" 0, " + parameters);
}

TEST(Scatter, OfAnEvenlyLitSurfaceIsItsAlbedo) {
    for (const char* radius : {"0 0 0", "0.5 0.1 0", "9 0.4 0.01"}) {
        TestScene scene;
        scene.contents =
            scatterer(fmt::format("\"scatterColor\" 0.9 0.6 0.3 1, \"scatterRadius\" {} 1", radius)) +
            card("slab", "wax", 0, 0, 0, 500) + sun;
        expectColor(RenderedScene(scene).middle(), {0.9f, 0.6f, 0.3f, 1}, 1e-4f, radius);
    }
}

/// A white object between two suns never shines brighter than they make a white card, however thin it is and
/// whatever its corners.
TEST(Scatter, NeverSendsBackMoreThanTheSurfaceReceives) {
    for (const float thickness : {0.01f, 1.0f}) {
        TestScene scene;
        scene.contents = scatterer("\"scatterColor\" 1 1 1 1, \"scatterRadius\" 1 0.3 0.05 1") +
                         box("leaf", "wax", 1.2f, 1.2f, thickness) + sun +
                         directionalLight("back", "\"intensity\" 1", "0 0 1");
        const RenderedScene picture(scene);
        picture.eachPixel([&](int x, int y) {
            const miColor c = picture.pixel("main", x, y);
            EXPECT_LE(std::max({c.r, c.g, c.b}), 1.0001f) << thickness;
        });
        // The sides are unlit; in the middle of a thin leaf there is nothing but light.
        if (thickness == 0.01f) expectColor(picture.middle(), {1, 1, 1, 1}, 0.03f);
    }
}

TEST(Scatter, LetsLightThroughThinPartsOnly) {
    const auto backLit = [](float thickness) {
        TestScene scene;
        scene.contents =
            scatterer("\"scatterColor\" 1 1 1 1, \"scatterRadius\" 0.5 0.2 0.05 1, \"scatterSamples\" 256") +
            box("leaf", "wax", 9, 9, thickness / 2) + directionalLight("back", "\"intensity\" 1", "0 0 1");
        return RenderedScene(scene).middle();
    };
    // Half of the light leaves on either side of a leaf that is thin to it.
    expectColor(backLit(0.01f), {0.5f, 0.5f, 0.5f, 1}, 0.05f);
    const miColor thick = backLit(0.4f);
    EXPECT_GT(thick.r, 1.2f * thick.g); // red reaches furthest
    EXPECT_GT(thick.g, 2 * thick.b);
    expectColor(backLit(30.0f), {}, 1e-5f);
}

/// Light falls through a square hole on a large white card; around it the card glows as the profile says.
TEST(Scatter, SpreadsASpotAsTheProfileFallsOff) {
    constexpr float half = 0.4f, far = 30;
    TestScene scene;
    scene.width = 9; // a row of pixels through the spot's middle
    scene.height = 1;
    scene.viewWidth = 3.6f;
    scene.contents = scatterer("\"scatterColor\" 0.8 0.8 0.8 1, \"scatterRadius\" 1 1 1 1, "
                               "\"scatterSamples\" 80000") +
                     card("floor", "wax", 0, 0, 0, 40) + lambert("black", "\"color\" 0 0 0 1") + sun;
    for (const auto& [x, y] : {std::pair(-1, 0), std::pair(1, 0), std::pair(0, 1), std::pair(0, -1)})
        scene.contents +=
            card(fmt::format("shade {} {}", x, y), "black", static_cast<float>(x) * (far + half),
                 static_cast<float>(y) * (far + half), 1, far, "visible off trace off");
    const RenderedScene picture(scene);

    // Albedo 0.8 makes the shape 1.1: the decay is 1 / 1.1 of the mean free path.
    constexpr double decay = 1 / 1.1;
    const auto profile = [](double r) {
        return (std::exp(-r / decay) + std::exp(-r / (3 * decay))) / (8 * 3.14159265358979 * decay * r);
    };
    for (int x = 4; x < 9; ++x) {
        const double at = (x - 4) * 0.4;
        double expected = 0.0;
        constexpr int steps = 400; // even: no midpoint lies on the pole in the spot's middle
        constexpr double cell = 2 * half / steps;
        for (int i = 0; i < steps; ++i)
            for (int j = 0; j < steps; ++j)
                expected += 0.8 * cell * cell *
                            profile(std::hypot(-half + (i + 0.5) * cell - at, -half + (j + 0.5) * cell));
        EXPECT_NEAR(picture.pixel("main", x, 0).r, expected, 0.03 * expected + 2e-4) << at;
    }
}

TEST(Scatter, DoesNotCrossToAnotherObject) {
    TestScene scene;
    scene.contents = scatterer("\"scatterColor\" 1 1 1 1, \"scatterRadius\" 2 2 2 1") +
                     lambert("black", "\"color\" 0 0 0 1") + card("lit", "wax", 1, 0, 0, 1) +
                     card("shaded", "wax", -1, 0, 0, 1) + card("roof", "black", -1, 0, 1, 1, "visible off") +
                     sun;
    const RenderedScene picture(scene);
    expectColor(picture.pixel("main", 8, 8), {1, 1, 1, 1}, 1e-4f);
    expectColor(picture.pixel("main", 7, 8), {}, 0.0f);
}

TEST(Scatter, IsTheSameOnAnyThreadsAndPartOfBeautyAndIndirect) {
    TestScene scene;
    scene.addLayers();
    scene.width = scene.height = 24;
    scene.contents = scatterer("\"scatterColor\" 0.9 0.5 0.3 1, \"scatterRadius\" 0.6 0.3 0.1 1") +
                     lambert("black", "\"color\" 0 0 0 1") + box("body", "wax", 0.7f, 0.5f, 0.4f) +
                     card("wall", "wax", 1.2f, 0, 0, 0.4f) + card("screen", "black", -0.4f, 0.2f, 2, 0.5f) +
                     directionalLight("low", "\"intensity\" 1", "-0.4 -0.3 -1") +
                     pointLight("lamp", "\"intensity\" 3, \"lightRadius\" 0.3, \"shadowRays\" 4", 1, -1, -2);
    RenderedScene::Settings many;
    many.threads = 3;
    many.tileSize = 5;
    const RenderedScene one(scene), three(scene, many);
    EXPECT_EQ(one.words("main"), three.words("main"));
    EXPECT_EQ(one.words("indirect"), three.words("indirect"));
    expectLayersAddUp(one);
    const std::vector<float> indirect = one.words("indirect");
    EXPECT_GT(*std::max_element(indirect.begin(), indirect.end()), 0.2f);
}

} // namespace
} // namespace orca::test
