// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <cmath>
#include <numbers>

namespace {

using namespace orca;
using namespace orca::test;

constexpr int size = 64;              // pixels
constexpr float pixels = size / 4.0f; // per scene unit
constexpr float lineWidth = 2.0f;     // pixels
const std::string pen =
    fmt::format("contour \"velaContour\" ( \"color\" 0.25 0.5 1 1, \"width\" {} )\n", 100 * lineWidth / size);
const std::string layer = "framebuffer \"lines\" datatype \"contour\"\n";

/// A material of one colour whose lines are drawn with `contour`.
std::string outlined(const std::string& name, const std::string& color, const std::string& contour = pen) {
    return fmt::format("material \"{}\" \"testFlat\" ( \"color\" {} 1 ) {} end material\n", name, color,
                       contour);
}

TestScene contourScene(const std::string& contrast, const std::string& contents) {
    TestScene scene;
    scene.width = scene.height = size;
    scene.samples = "1 1";
    scene.extraOptions = fmt::format(
        "contour store \"velaContourStore\" ( ) contour contrast \"velaContourContrast\" ( {} )", contrast);
    scene.contents = contents;
    return scene;
}

const std::string ball = outlined("m", "1 1 1") + sphere("ball", "m", 64);

TEST(Contours, FollowASilhouetteInTheWidthThatIsAskedFor) {
    TestScene scene = contourScene("", ball);
    scene.cameraStatements = layer;
    const RenderedScene picture(scene);
    double area = 0, radii = 0;
    picture.eachPixel([&](int x, int y) {
        const miColor line = picture.pixel("lines", x, y);
        const double radius = std::hypot(x + 0.5 - size / 2, y + 0.5 - size / 2);
        const double beside = std::abs(radius - pixels);
        EXPECT_TRUE(line.a == 0 || beside < 0.5 * lineWidth + 0.75);
        if (beside < 0.5 * lineWidth - 0.75) {
            EXPECT_EQ(line.a, 1.0f);
        }
        expectColor(line, {0.25f * line.a, 0.5f * line.a, line.a, line.a}, 1e-5f);
        area += line.a;
        radii += line.a * radius;
    });
    EXPECT_NEAR(area, 2 * std::numbers::pi * pixels * lineWidth,
                2.0); // 1 %: the polygon, and bends of pieces
    EXPECT_NEAR(radii / area, pixels, 0.1);

    // The picture keeps free of lines that have a layer; else it is the layer over that picture.
    scene.cameraStatements.clear();
    const RenderedScene drawn(scene);
    picture.eachPixel([&](int x, int y) {
        const miColor under = picture.pixel("main", x, y), line = picture.pixel("lines", x, y);
        const float through = 1 - line.a;
        EXPECT_TRUE(under.r == 0 || under.r == under.b);
        expectColor(drawn.pixel("main", x, y),
                    miColor{under.r * through, under.g * through, under.b * through, 1} + line, 1e-5f);
    });
}

TEST(Contours, AreTheSameInAnyTilesThreadsAndWindows) {
    TestScene scene = contourScene("\"angle\" 180", ball + outlined("n", "0 1 0") +
                                                        turnedCard("card", "n", 0.7f, 0.3f, 1, 0.8f, 30));
    scene.samples = "-1 1";
    const RenderedScene whole(scene);
    for (const auto& [threads, tiles, window] : {std::tuple{3, 16, render::PixelWindow{0, 0, 63, 63}},
                                                 std::tuple{1, 8, render::PixelWindow{30, 11, 50, 40}}}) {
        RenderedScene::Settings settings;
        settings.threads = threads;
        settings.tileSize = tiles;
        settings.window = window;
        const RenderedScene part(scene, settings);
        part.eachPixel([&, left = window.xl, low = window.yl](int x, int y) {
            const miColor a = part.pixel("main", x, y), b = whole.pixel("main", x + left, y + low);
            EXPECT_TRUE(a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a);
        });
    }
}

/// A straight line along a column of pixel edges, wherever it comes from.
struct EdgeCase {
    const char* name;
    std::string contrast, contents;
    float column; // of the line, pixels from the left; negative: there is none
};
class ContourEdge : public ::testing::TestWithParam<EdgeCase> {};

TEST_P(ContourEdge, IsWhereTheContrastShaderSays) {
    TestScene scene = contourScene(GetParam().contrast, GetParam().contents);
    scene.cameraStatements = layer;
    const RenderedScene picture(scene);
    for (int x = 0; x < size; ++x) {
        const float inside = 0.5f * lineWidth - std::abs(static_cast<float>(x) + 0.5f - GetParam().column);
        const float coverage = GetParam().column < 0 ? 0.0f : std::clamp(inside + 0.5f, 0.0f, 1.0f);
        // A line is found to 1/32 of a pixel.
        EXPECT_NEAR(picture.pixel("lines", x, size / 2).a, coverage, 0.13f) << "pixel " << x;
    }
}

/// Two large cards that meet at x, at `z` and `z2`.
std::string cards(float x, float z, float z2, const std::string& second = "m") {
    return outlined("m", "1 1 1") + outlined("n", "1 0 0") + card("left", "m", x - 10, 0, z, 10) +
           card("right", second, x + 10, 0, z2, 10);
}
/// The same seen in a mirror from behind the camera.
const std::string mirrored = "material \"glass\" \"testMirror\" ( ) end material\n" +
                             card("mirror", "glass", 0, 0, 0, 10) + cards(0.5f, 20, 20, "n");

INSTANTIATE_TEST_SUITE_P(
    Cases, ContourEdge,
    ::testing::Values(EdgeCase{"materials", "\"instances\" off", cards(0.5f, 0, 0, "n"), 40},
                      EdgeCase{"instances", "\"materials\" off", cards(-0.25f, 0, 0), 28},
                      EdgeCase{"no difference", "\"instances\" off", cards(0, 0, 0), -1},
                      EdgeCase{"a step", "\"instances\" off, \"depth\" 0.5", cards(0, 0, 1), 32},
                      EdgeCase{"a step too small", "\"instances\" off, \"depth\" 0.5", cards(0, 0, 0.4f), -1},
                      EdgeCase{"a mirror", "\"instances\" off", mirrored, 40},
                      EdgeCase{"a mirror beyond the levels", "\"instances\" off, \"maxLevel\" 0", mirrored,
                               -1}));

TEST(Contours, TakeTheirWidthFromDistanceAndLight) {
    // The card is at 10 from the camera.
    const std::string byDepth =
        "contour \"velaContourDepth\" ( \"nearDistance\" 9, \"nearWidth\" 0, "
        "\"nearColor\" 0 0 0 1, \"farDistance\" 15, \"farColor\" 0 0 0 1, \"farWidth\" 5 )";
    // Half of the full light, or none.
    const std::string byLight =
        "contour \"velaContourLight\" ( \"fullLight\" 2, \"litWidth\" 1, \"shadedWidth\" 4 )";
    for (const auto& [contour, lit, expected] :
         {std::tuple{byDepth, "", 5.0f / 6}, std::tuple{byLight, "", 4.0f},
          std::tuple{byLight, "sun", 2.5f}}) {
        TestScene scene =
            contourScene("", outlined("m", "1 1 1", contour) + card("card", "m", 0, 0, 0, 1) +
                                 (*lit ? directionalLight("sun", "\"intensity\" 1", "0 0 -1") : ""));
        scene.cameraStatements = layer;
        const RenderedScene picture(scene);
        float width = 0;
        for (int x = 0; x < size / 2; ++x) width += picture.pixel("lines", x, size / 2).a;
        EXPECT_NEAR(width, expected * size / 100, 0.15f) << contour;
    }
}

TEST(Contours, AreHandedToOutputShaders) {
    TestScene scene = contourScene("", ball);
    scene.cameraStatements = "output \"contour,rgba\" \"testLineLength\" ( )\n";
    const RenderedScene picture(scene);
    EXPECT_NEAR(picture.pixel("main", 0, 0).r, 2 * std::numbers::pi * pixels, 2.0);
    EXPECT_GT(picture.pixel("main", 0, 0).g, pixels);
    EXPECT_EQ(picture.pixel("main", size / 2 + static_cast<int>(pixels) - 1, size / 2).r,
              1.0f); // none is drawn
}

} // namespace
