// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>

namespace orca::test {
namespace {

/// Where a small card is seen is where the file's matrix puts its middle.
TEST(Cameras, SayInTheFileWhereAPointOfTheWorldIsSeen) {
    const char* const straight = "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -10 1";
    const char* const turned = "transform 0.8 0 0.6 0 0 1 0 0 -0.6 0 0.8 0 0 0.5 -10 1";
    const struct {
        bool perspective;
        const char *camera, *statements;
    } cases[] = {{true, straight, ""},
                 {true, turned, "offset 9 -6\n"},
                 {false, straight, "offset -7 4\n"},
                 {false, turned, ""}};
    for (const auto& c : cases) {
        TestScene scene;
        scene.width = 120;
        scene.height = 80;
        scene.samples = "2 2";
        scene.perspective = c.perspective;
        scene.camera = c.camera;
        scene.cameraStatements = c.statements;
        constexpr float x = 0.4f, y = -0.3f, z = 0.5f;
        scene.contents = glowing("m", "1 1 1") + card("point", "m", x, y, z, 0.05f);
        const RenderedScene rendered(scene);
        double sum = 0.0, sumX = 0.0, sumY = 0.0;
        rendered.eachPixel([&](int column, int row) {
            const double light = rendered.pixel("main", column, row).r;
            sum += light;
            sumX += light * (column + 0.5);
            sumY += light * (80 - (row + 0.5));
        });
        const auto m = std::get<image::Matrix>(rendered.result().frame().metadata.at("worldToNDC"));
        const auto at = [&m](std::size_t i) { return x * m[i] + y * m[4 + i] + z * m[8 + i] + m[12 + i]; };
        ASSERT_GT(sum, 0.0);
        EXPECT_NEAR(at(0) / at(3), sumX / sum / 120, 0.2 / 120);
        EXPECT_NEAR(at(1) / at(3), sumY / sum / 80, 0.2 / 80);
        EXPECT_GT(at(2) / at(3), 0.0f);
        EXPECT_LT(at(2) / at(3), 1.0f);
    }
}

/// What a camera sees in the middle of its picture, and beside it to the right, of an environment.
struct Seen {
    miColor middle, right;
};
Seen environmentSeen(const std::string& texture, const std::string& parameters, const std::string& camera) {
    TestScene scene;
    scene.perspective = true;
    scene.camera = camera;
    scene.beforeCamera = texture;
    scene.cameraStatements = "environment \"velaEnvironmentLatLong\" ( " + parameters + " )\n";
    const RenderedScene picture(scene);
    return {picture.middle(), picture.pixel("main", 15, 8)};
}

const std::string ahead = "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1";

TEST(LatLongEnvironment, ShowsTheTexelOfItsDirection) {
    const std::string ring = "color texture \"ring\" [ 4 1 ] 'ff0000ff' '00ff00ff' '0000ffff' 'ffffffff'\n";
    const auto turned = [&](int degrees) {
        return environmentSeen(ring, fmt::format("\"texture\" \"ring\", \"rotation\" {}", degrees), ahead);
    };
    // u = 0.5 lies ahead, between the second and the third texel; 45 degrees are half a texel.
    EXPECT_GT(turned(45).middle.b, 0.95f);
    EXPECT_LT(turned(45).middle.r, 0.05f);
    EXPECT_GT(turned(-45).middle.g, 0.95f);
    EXPECT_GT(turned(-135).middle.r, 0.95f);
    EXPECT_GT(turned(225).middle.r, 0.95f);
    // To the right lies the next texel: 11 degrees of the 90 between their centres.
    EXPECT_NEAR(turned(-45).right.b - turned(-45).middle.b, std::atan(0.4 * 7 / 16) / 1.5708, 0.02);

    const std::string halves = "color texture \"halves\" [ 1 2 ] '000000ff' 'ffffffff'\n";
    // Turned about x by 45 degrees, the camera looks up.
    const float c = std::sqrt(0.5f);
    const std::string up = fmt::format("transform 1 0 0 0 0 {0} {1} 0 0 {2} {0} 0 0 0 0 1", c, -c, c);
    EXPECT_GT(environmentSeen(halves, "\"texture\" \"halves\"", up).middle.g, 0.9f);
}

TEST(LatLongEnvironment, IsAGradientWithoutAnImage) {
    const Seen level = environmentSeen("", "\"horizon\" 0.5 0.25 1 1, \"gain\" 2 2 2 1", ahead);
    EXPECT_NEAR(level.middle.r, 1.0f, 0.03f);
    EXPECT_NEAR(level.middle.g, 0.5f, 0.03f);
    const Seen down =
        environmentSeen("", "\"ground\" 0 0.75 0 1", "transform 1 0 0 0 0 0 1 0 0 -1 0 0 0 0 0 1");
    const Seen up =
        environmentSeen("", "\"zenith\" 0 0.75 0 1", "transform 1 0 0 0 0 0 -1 0 0 1 0 0 0 0 0 1");
    EXPECT_NEAR(std::max(down.middle.g, up.middle.g), 0.75f, 0.01f);
}

TEST(LatLongEnvironment, BlursOverTheAngleAsked) {
    // Stripes of 10 degrees: a look-up of a radian takes their mean.
    std::string stripes = "color texture \"stripes\" [ 36 18 ]";
    for (int i = 0; i < 18 * 18; ++i) stripes += " '000000ffffffffff'";
    const Seen sharp = environmentSeen(stripes + "\n", "\"texture\" \"stripes\", \"rotation\" 5", ahead);
    const Seen blurred =
        environmentSeen(stripes + "\n", "\"texture\" \"stripes\", \"rotation\" 5, \"blur\" 1", ahead);
    EXPECT_GT(std::abs(sharp.middle.g - 0.5f), 0.3f);
    EXPECT_NEAR(blurred.middle.g, 0.5f, 0.06f);
}

/// Left half plane that glows, `z` above the origin; the camera is 10 above it and its lens has radius 1.
TestScene glowingHalf(float z) {
    TestScene scene;
    scene.perspective = true;
    scene.samples = "4 4";
    scene.contents = glowing("glow", "1 1 1") + card("half", "glow", -50, 0, z, 50);
    scene.passes = {"beauty"};
    return scene;
}

TEST(ThinLens, BlursByTheCircleOfConfusion) {
    const std::string lens = "\"velaThinLens\" ( \"focusDistance\" 10, \"apertureRadius\" 1 )";
    for (const bool lensFirst : {true, false}) {
        const std::string framebuffers = "\"orcaFrameBufferLens\" ( )";
        TestScene scene = glowingHalf(5);
        scene.lens = "lens " + (lensFirst ? lens + framebuffers : framebuffers + lens);
        const RenderedScene picture(scene);
        for (int x = 0; x < 16; ++x) {
            // At half the focal distance, the lens's disc is seen cut where its x is that of the plane in
            // focus.
            const double cut = std::clamp(-(x + 0.5 - 8) * 0.25, -1.0, 1.0);
            const double share = 0.5 + (cut * std::sqrt(1 - cut * cut) + std::asin(cut)) / 3.14159265358979;
            EXPECT_NEAR(picture.pixel("main", x, 8).r, share, 0.02) << x;
            EXPECT_NEAR(picture.pixel("beauty", x, 8).r, picture.pixel("main", x, 8).r, 1e-5f) << x;
        }
    }
}

/// Environment whose green is the longitude of the view, 0 to 1 all round, the middle of the picture in the
/// middle.
TestScene longitudes(const std::string& lens) {
    std::string ramp = "color texture \"ramp\" [ 64 1 ]";
    for (int i = 0; i < 64; ++i) ramp += fmt::format(" '00{:02x}00ff'", 4 * i + 2);
    TestScene scene;
    scene.width = scene.height = 32;
    scene.perspective = true;
    scene.camera = ahead;
    scene.beforeCamera = ramp + "\n";
    scene.cameraStatements = "environment \"velaEnvironmentLatLong\" ( \"texture\" \"ramp\" )\n";
    scene.lens = "lens \"" + lens + " ) \"orcaFrameBufferLens\" ( )";
    return scene;
}

TEST(WideLenses, SeeTheirAngles) {
    const double pi = 3.14159265358979, half = 80 * pi / 180;
    const struct {
        const char* lens;
        double (*angle)(double at, double most); // from the axis, radians, at -1 to 1 across the picture
    } cases[] = {
        {"velaLatLongLens\" ( ", [](double at, double) { return at * 3.14159265358979; }},
        {"velaLatLongLens\" ( \"horizontalAngle\" 160, \"verticalAngle\" 1",
         [](double at, double most) { return at * most; }},
        {"velaFisheyeLens\" ( \"angle\" 160", [](double at, double most) { return at * most; }},
        {"velaFisheyeLens\" ( \"projection\" 1, \"angle\" 160",
         [](double at, double most) { return 2 * std::asin(at * std::sin(most / 2)); }},
        {"velaFisheyeLens\" ( \"projection\" 2, \"angle\" 160",
         [](double at, double most) { return 2 * std::atan(at * std::tan(most / 2)); }},
        {"velaFisheyeLens\" ( \"projection\" 3, \"angle\" 160",
         [](double at, double most) { return std::asin(at * std::sin(most)); }},
    };
    for (const auto& c : cases) {
        const RenderedScene picture(longitudes(c.lens));
        for (int x = 3; x < 29; x += 5) {
            const double angle = c.angle((x + 0.5) / 16 - 1, half);
            EXPECT_NEAR(picture.pixel("main", x, 16).g, (64 * (0.5 + angle / (2 * pi)) * 4) / 255, 0.02)
                << c.lens << " at " << x;
        }
        EXPECT_EQ(picture.pixel("main", 0, 0).a == 0.0f, std::string(c.lens).starts_with("velaFisheye"))
            << c.lens << ": nothing is outside the circle";
    }
}

TEST(StereoLens, ShiftsByTheParallaxOfTheDistance) {
    // Half planes of which each pixel shows 4 / 16 of a tenth of the distance: 10 away, 0.25 a pixel.
    for (const float convergence : {0.0f, 10.0f, 20.0f}) {
        double edge[2];
        for (const int eye : {1, 2}) {
            TestScene scene = glowingHalf(0);
            scene.lens = fmt::format(
                "lens \"velaStereoLens\" ( \"eye\" {}, \"interaxial\" 1, \"convergenceDistance\" {} ) "
                "\"orcaFrameBufferLens\" ( )",
                eye, convergence);
            const RenderedScene picture(scene);
            double sum = 0.0;
            for (int x = 0; x < 16; ++x) sum += picture.pixel("main", x, 8).r;
            edge[eye - 1] = sum;
        }
        const double parallax = 1.0 / 10 - (convergence > 0 ? 1.0 / convergence : 0.0);
        EXPECT_NEAR(edge[0] - edge[1], parallax * 10 / 0.25, 0.1) << convergence;
    }
}

TEST(Lenses, FindTheHitInTheirStateBehindTheRay) {
    TestScene scene;
    scene.lens = "lens \"testLensFindings\" ( )";
    scene.contents = lambert("m", "") + card("card", "m", 0, 0, 1, 3,
                                             "motion transform 1 0 0 0 0 1 0 0 0 0 1 0 -0.5 0 -1 1 tag 7");
    const miColor found = RenderedScene(scene).middle();
    expectColor(found, {0.5f, 1, 9, 7}, 1e-5f);
    EXPECT_EQ(found.a, 7.0f);
}

TEST(ThinLens, IsSharpInThePlaneOfFocusAndFollowsTheStop) {
    const auto edge = [](float z, const std::string& parameters) {
        TestScene scene = glowingHalf(z);
        scene.lens = "lens \"velaThinLens\" ( " + parameters + " ) \"orcaFrameBufferLens\" ( )";
        const RenderedScene picture(scene);
        double width = 0.0; // of the edge, pixels
        for (int x = 0; x < 16; ++x) {
            const double share = picture.pixel("main", x, 8).r;
            width += share * (1.0 - share);
        }
        return width;
    };
    EXPECT_LT(edge(0, "\"focusDistance\" 10, \"apertureRadius\" 1"), 0.01);
    EXPECT_LT(edge(5, "\"focusDistance\" 10, \"fStop\" 0"), 0.01);                        // a pinhole
    const double wide = edge(5, "\"focusDistance\" 10, \"fStop\" 10, \"lensScale\" 1.6"); // radius 0.8
    const double narrow = edge(5, "\"focusDistance\" 10, \"fStop\" 20, \"lensScale\" 1.6");
    EXPECT_NEAR(wide / narrow, 2.0, 0.15);
    // A blade's polygon lies within the circle, so it blurs less; a squeezed aperture does so across.
    const double five = edge(5, "\"focusDistance\" 10, \"apertureRadius\" 0.8, \"blades\" 5");
    const double curved =
        edge(5, "\"focusDistance\" 10, \"apertureRadius\" 0.8, \"blades\" 5, \"bladeCurvature\" 0.7");
    EXPECT_LT(five, curved);
    EXPECT_LT(curved, wide);
    EXPECT_NEAR(edge(5, "\"focusDistance\" 10, \"apertureRadius\" 0.8, \"squeeze\" 2"), narrow, 0.05);
    EXPECT_GT(edge(5, "\"focusDistance\" 10, \"apertureRadius\" 0.8, \"edgeBrightness\" 1"), 1.05 * wide);
    // In the middle of the picture the plane of focus stays where it is, wherever it is tilted.
    EXPECT_LT(edge(0, "\"focusDistance\" 10, \"apertureRadius\" 1, \"tiltX\" 40"), 0.1);
}

} // namespace
} // namespace orca::test
