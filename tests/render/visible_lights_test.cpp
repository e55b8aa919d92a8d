// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <utility>

namespace orca::test {
namespace {

/// A light of intensity 0.5 about (x, y, 0), which does not decay.
std::string areaLight(const std::string& shape, float x = 0, float y = 0) {
    return pointLight("lamp", "\"intensity\" 0.5, \"decayRate\" 0", x, y, 0, "", shape + " visible");
}

struct Shape {
    std::string statement;
    std::function<bool(float x, float y)> covers;                   ///< seen along z, relative to its middle
    std::function<std::pair<float, float>(float u, float v)> point; ///< x and y of a place on it
};
class VisibleLight : public ::testing::TestWithParam<Shape> {};

TEST_P(VisibleLight, IsSeenInItsShape) {
    TestScene scene; // 16 x 16 pixels of a quarter
    scene.passes = {"beauty"};
    scene.contents = areaLight(GetParam().statement, 0.25f, -0.5f);
    const RenderedScene picture(scene);
    int covered = 0;
    picture.eachPixel([&](int x, int y) {
        const bool expected = GetParam().covers((static_cast<float>(x) + 0.5f) / 4 - 2 - 0.25f,
                                                (static_cast<float>(y) + 0.5f) / 4 - 2 + 0.5f);
        covered += expected;
        EXPECT_NEAR(picture.pixel("main", x, y).r, expected ? 0.5f : 0.0f, 1e-5f);
    });
    expectLayersAddUp(picture, {"beauty"});
    EXPECT_GT(covered, 12);
}

TEST_P(VisibleLight, ShowsATextureWhereItsSamplesHaveIt) {
    TestScene scene;
    scene.contents = "shader \"place\" \"testShowCoordinate\" ( )\nlight \"lamp\" \"orcaVelaSpotLight\" ( "
                     "\"color\" = \"place\", \"decayRate\" 0 ) origin 0 0 0 " +
                     GetParam().statement +
                     " visible end light\ninstance \"lamp_inst\" \"lamp\" end instance\n";
    const RenderedScene picture(scene);
    picture.eachPixel([&](int i, int j) {
        const float x = (static_cast<float>(i) + 0.5f) / 4 - 2, y = (static_cast<float>(j) + 0.5f) / 4 - 2;
        if (!GetParam().covers(x, y)) return;
        const miColor place = picture.pixel("main", i, j);
        EXPECT_GE(place.g, 0.0f);
        const auto [shownX, shownY] = GetParam().point(place.r, place.g);
        EXPECT_NEAR(shownX, x, 2e-3f);
        EXPECT_NEAR(shownY, y, 2e-3f);
    });
}

float onCircle(float (*function)(float), float share) {
    return function(share * 6.2831853f);
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, VisibleLight,
    ::testing::Values(
        // The light shines to the side of u x v, here along z toward the camera; edges may be slanted.
        Shape{"rectangle 2 0 0 0 1.5 0",
              [](float x, float y) { return std::abs(x) < 1 && std::abs(y) < 0.75f; },
              [](float u, float v) { return std::pair(2 * u - 1, 1.5f * v - 0.75f); }},
        Shape{"rectangle 1 0.5 0 0 2 0",
              [](float x, float y) { return std::abs(x) < 0.5f && std::abs(y - 0.5f * x) < 1; },
              [](float u, float v) { return std::pair(u - 0.5f, 0.5f * u - 0.25f + 2 * v - 1); }},
        Shape{"disc 0 0 3 1.1", [](float x, float y) { return std::hypot(x, y) < 1.1f; },
              [](float u, float v) {
                  const float r = 1.1f * std::sqrt(u);
                  return std::pair(r * onCircle(std::cos, v), r * onCircle(std::sin, v));
              }},
        Shape{"sphere 0.9", [](float x, float y) { return std::hypot(x, y) < 0.9f; },
              [](float u, float v) {
                  const float r = 0.9f * 2 * std::sqrt(u - u * u);
                  return std::pair(r * onCircle(std::cos, v), r * onCircle(std::sin, v));
              }},
        Shape{"cylinder 0 2 0 0.6", [](float x, float y) { return std::abs(x) < 0.6f && std::abs(y) < 1; },
              [](float u, float v) { return std::pair(0.6f * onCircle(std::cos, v), 2 * u - 1); }}));

TEST(VisibleLights, HideWhatIsBehindAndAreHiddenByWhatIsBefore) {
    TestScene scene;
    scene.contents = areaLight("sphere 1") + glowing("glow", "0.2 0.2 0.2") +
                     card("before", "glow", 1, 0, 2, 1) + card("behind", "glow", 0, 0, -2, 2);
    const RenderedScene picture(scene);
    EXPECT_NEAR(picture.pixel("main", 6, 8).r, 0.5f, 1e-5f);
    EXPECT_NEAR(picture.pixel("main", 10, 8).r, 0.2f, 1e-5f);
    EXPECT_NEAR(picture.pixel("main", 1, 8).r, 0.2f, 1e-5f);
}

TEST(VisibleLights, AreDarkFromBehindWhereTheyAreFlat) {
    for (const char* const shape : {"disc 0 0 -1 1", "rectangle 2 0 0 0 -1.5 0"}) {
        TestScene scene;
        scene.contents = areaLight(shape);
        EXPECT_EQ(RenderedScene(scene).middle().r, 0.0f) << shape;
    }
}

TEST(VisibleLights, AreSeenThroughVolumes) {
    TestScene scene;
    scene.cameraStatements = "volume \"testHaze\" ( \"color\" 0.05 0.1 0 1 )\n";
    scene.contents = areaLight("disc 0 0 1 1");
    EXPECT_NEAR(RenderedScene(scene).middle().r, 0.5f * std::exp(-0.5f), 1e-5f); // ten before the eye
}

/// With decay a lamp looks the same from anywhere: as bright as its light on a white surface right before it.
TEST(VisibleLights, ShowTheirRadianceFromAnyDistance) {
    struct Lamp {
        const char* shape;
        float radiance; ///< of intensity 3
    };
    const float pi = 3.14159265f;
    const Lamp lamps[] = {{"disc 0 0 1 0.5", 3.0f}, // decay does not brighten
                          {"disc 0 0 1 1.5", 3.0f / 2.25f},
                          {"sphere 1.5", 3.0f / 2.25f},
                          {"rectangle 3 0 0 0 2 0", 3.0f * pi / 6.0f},
                          {"cylinder 0 3 0 1", 3.0f * pi / 6.0f}};
    for (const Lamp& lamp : lamps)
        for (const float distance : {5.0f, 40.0f}) {
            TestScene scene;
            scene.camera = fmt::format("transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 {} 1", -distance);
            scene.contents = pointLight("lamp", "\"intensity\" 3, \"decayRate\" 2", 0, 0, 0, "",
                                        lamp.shape + std::string(" visible"));
            const RenderedScene picture(scene);
            EXPECT_NEAR(picture.pixel("main", 8, 8).r, lamp.radiance, 1e-5f) << lamp.shape << distance;
        }
}

TEST(VisibleLights, AreSeenInMirrorsAndThroughGlassUnlessTheyAreNotVisible) {
    const auto seen = [](const std::string& material, const std::string& flag, float lightZ,
                         const std::string& ofInstance = "") {
        TestScene scene;
        scene.baseState = "\"additivePasses\" on";
        scene.passes = {"beauty"};
        scene.contents =
            pointLight("lamp",
                       "\"intensity\" 0.5, \"decayRate\" 0, \"emitDiffuse\" off, \"emitSpecular\" off", 0, 0,
                       lightZ, ofInstance, "sphere 1 " + flag) +
            material + card("card", "m", 0, 0, 0, 2);
        const RenderedScene picture(scene);
        EXPECT_NEAR(picture.pixel("beauty", 8, 8).r, picture.pixel("main", 8, 8).r, 1e-6f);
        return picture.pixel("main", 8, 8).r;
    };
    const std::string steel = mirror("m", 0.8f);
    const std::string film = lambert("m", "\"color\" 0 0 0 1, \"transparency\" 0.6 0.6 0.6 1");
    const std::string glass = lambert(
        "m",
        "\"color\" 0 0 0 1, \"transparency\" 0.6 0.6 0.6 1, \"refractionsOn\" on, \"refractiveIndex\" 1");
    // The camera is at 10; the light is behind it.
    EXPECT_NEAR(seen(steel, "visible", 14), 0.4f, 1e-5f);
    EXPECT_NEAR(seen(steel, "visible off", 14), 0.0f, 1e-5f);
    EXPECT_NEAR(seen(film, "visible", -4), 0.3f, 1e-5f);
    EXPECT_NEAR(seen(glass, "visible", -4), 0.3f, 1e-5f);
    EXPECT_NEAR(seen(film, "", -4), 0.0f, 1e-5f);
    EXPECT_NEAR(seen(steel, "visible", 14, "visible off"), 0.4f, 1e-5f);
    EXPECT_NEAR(seen(steel, "visible", 14, "trace off"), 0.0f, 1e-5f);
    EXPECT_NEAR(seen(steel, "visible", 4, "trace off"), 0.5f, 1e-5f); // before the mirror
    EXPECT_NEAR(seen(steel, "visible", 4, "visible off"), 0.4f, 1e-5f);
}

} // namespace
} // namespace orca::test
