// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orca::test {
namespace {

/// Centre of a pixel of a 16 x 16 orthographic view, 4 units wide.
float pixelCentre(int p) {
    return (static_cast<float>(p) + 0.5f) / 4.0f - 2.0f;
}

constexpr float floatNoise = 1e-5f; // a few operations in single precision on values near 1

TEST(Lights, LightLinksChooseWhatIlluminatesAnInstance) {
    TestScene scene;
    const std::string two = directionalLight("a", "\"color\" 1 0 0 1", "0 0 -1") +
                            directionalLight("b", "\"color\" 0 1 0 1", "0 0 -1");
    scene.contents = two + white() + card("left", "white", -1, 0, 0, 1, "light [ \"a_inst\" ]") +
                     card("right", "white", 1, 0, 0, 1, "light exclusive [ \"a_inst\" ]");
    const RenderedScene picture(scene);
    EXPECT_NEAR(picture.pixel("main", 4, 8).r, 1.0f, floatNoise);
    EXPECT_NEAR(picture.pixel("main", 4, 8).g, 0.0f, floatNoise);
    EXPECT_NEAR(picture.pixel("main", 11, 8).r, 0.0f, floatNoise);
    EXPECT_NEAR(picture.pixel("main", 11, 8).g, 1.0f, floatNoise);
}

std::string plainLamp(const std::string& shape) {
    return "light \"lamp\" \"testPlainLight\" ( ) origin 0 0 0 " + shape +
           " end light\ninstance \"lamp_inst\" \"lamp\" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -1 1 end "
           "instance\n";
}
/// A square without a material, which shows half of the mean light that it is sent.
std::string bareSquare(float z, const std::string& instanceStatements = "") {
    std::string text = card("square", "none", 0, 0, z, 8, instanceStatements);
    return text.erase(text.find("\"none\""), 6);
}

TEST(AreaLights, AreSampledEvenlyOverTheirArea) {
    // Mean cosine below the middle of a shape at height 1.
    const std::pair<const char*, double> cases[] = {{"disc 0 0 1 2 16 16", (std::sqrt(5.0) - 1) / 2},
                                                    {"rectangle 4 0 0 0 0.02 0 16 16", std::asinh(2.0) / 2},
                                                    {"cylinder 4 0 0 0.01 16 16", std::asinh(2.0) / 2},
                                                    {"sphere 0.5 16 16", 1 - 0.25 / 3}};
    for (const auto& [shape, cosine] : cases) {
        TestScene scene;
        scene.width = scene.height = 9;
        scene.contents = plainLamp(shape) + bareSquare(0);
        EXPECT_NEAR(RenderedScene(scene.text()).middle().r, cosine / 2, 2e-3) << shape;
    }
}

TEST(AreaLights, SpreadTheirSamplesOverAllOfAPixel) {
    TestScene scene; // all pixels are below the middle
    scene.viewWidth = 0.01f;
    scene.samples = "2 2";
    scene.contents = plainLamp("disc 0 0 1 2 4 4") + bareSquare(0);
    const RenderedScene picture(scene.text());
    double squares = 0;
    picture.eachPixel([&](int x, int y) {
        squares += std::pow(static_cast<double>(picture.pixel("main", x, y).r) - (std::sqrt(5.0) - 1) / 4, 2);
    });
    EXPECT_LT(std::sqrt(squares / 256), 5e-4); // 8e-4 if the loops of a pixel repeat each other
}

TEST(AreaLights, TakeFewerSamplesFromTheirLevelOn) {
    for (const auto& [level, calls] : {std::pair(1, 4u), std::pair(2, 16u)}) {
        TestScene scene;
        scene.contents = plainLamp(fmt::format("rectangle 1 0 0 0 1 0 4 4 {} 2 2", level)) + bareSquare(12) +
                         "material \"mirror\" \"testMirror\" ( ) end material\n" +
                         card("glass", "mirror", 0, 0, 0, 8);
        EXPECT_EQ(RenderedScene(scene.text()).result().statistics.rays.lightCalls, 256 * calls) << level;
    }
}

class TransparentShadow : public ::testing::TestWithParam<const char*> {};

TEST_P(TransparentShadow, MultipliesTheCardsOnTheWay) {
    TestScene scene;
    scene.shadow = GetParam();
    scene.contents = white() + lambert("red", "", "0.8 0.5 0.25 1") + lambert("blue", "", "0.5 0.5 1 1") +
                     card("floor", "white", 0, 0, 0, 8) + card("near", "red", 0, 0, 1, 8, "visible off") +
                     card("far", "blue", 0, 0, 2, 8, "visible off") + directionalLight("sun", "", "0 0 -1") +
                     pointLight("lamp", "\"color\" 0.5 0.5 0.5 1", 0, 0, 1.5f); // between the cards
    const RenderedScene picture(scene);
    const float d = std::sqrt(2 * pixelCentre(8) * pixelCentre(8) + 1.5f * 1.5f);
    const float lamp = 0.5f * 1.5f / d;
    const miColor pixel = picture.pixel("main", 8, 8);
    EXPECT_NEAR(pixel.r, 0.8f * 0.5f + 0.8f * lamp, floatNoise);
    EXPECT_NEAR(pixel.g, 0.5f * 0.5f + 0.5f * lamp, floatNoise);
    EXPECT_NEAR(pixel.b, 0.25f * 1.0f + 0.25f * lamp, floatNoise);
}

INSTANTIATE_TEST_SUITE_P(Modes, TransparentShadow, ::testing::Values("on", "sort", "segments"));

TEST(Shadows, StopAtTheDepthLimitAndWhereNobodyCasts) {
    TestScene scene;
    const std::string common = white() + card("floor", "white", 0, 0, 0, 8);
    scene.contents = common + card("roof", "white", 0, 0, 1, 8, "visible off") +
                     directionalLight("limited", "\"rayDepthLimit\" 0, \"color\" 1 0 0 1", "0 0 -1") +
                     directionalLight("without", "\"shadowRays\" 0, \"color\" 0 1 0 1", "0 0 -1") +
                     directionalLight("dark", "\"shadowColor\" 0 0 0.25 1", "0 0 -1") +
                     card("proud", "white", 1.5f, 0, 0.5f, 0.5f, "shadow 1"); // casts, but takes none
    const RenderedScene picture(scene);
    const miColor pixel = picture.pixel("main", 5, 5);
    EXPECT_NEAR(pixel.r, 1.0f, floatNoise);
    EXPECT_NEAR(pixel.g, 1.0f, floatNoise);
    EXPECT_NEAR(pixel.b, 0.25f, floatNoise); // the shadow's own colour
    EXPECT_NEAR(picture.pixel("main", 14, 8).b, 1.0f, floatNoise);
}

} // namespace
} // namespace orca::test
