// SPDX-License-Identifier: Apache-2.0
/// Lights whose samples the renderer distributes for them: the dome, and light from meshes.
#include "rendered_scene.h"
#include "scene_parts.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::test {
namespace {

constexpr double pi = std::numbers::pi;

std::string lamp(const std::string& shader, const std::string& shape) {
    return "light \"lamp\" " + shader + " " + shape +
           " end light\ninstance \"lamp_inst\" \"lamp\" end instance\n";
}
const std::string evenSky = "\"zenith\" 1 1 1 1, \"horizon\" 1 1 1 1, \"ground\" 1 1 1 1";

TEST(DomeLight, ShowsItsRadianceOnWhiteAndNothingUnderARoof) {
    TestScene scene;
    scene.viewWidth = 2.4f;
    scene.contents =
        white() + lamp("\"velaDomeLight\" ( " + evenSky + " )", "user 24 24") + sphere("ball", "white", 24);
    const RenderedScene ball(scene);
    for (const int x : {3, 8, 12}) EXPECT_NEAR(ball.pixel("main", x, 7).r, 1.0f, 0.03f) << x;

    scene.contents =
        white() + lamp("\"velaDomeLight\" ( " + evenSky + ", \"shadowColor\" 0 0.5 0 1 )", "user 24 24") +
        card("floor", "white", 0, 0, 0, 8) + card("roof", "white", 0, 0, 0.001f, 8, "visible off");
    expectColor(RenderedScene(scene).middle(), {0, 0.5f, 0, 1}, 0.03f);
}

/// An image lights as the environment of the same image looks.
TEST(DomeLight, LightsAsItsImageLooks) {
    std::string image = "color texture \"sky\" [ 16 8 ]";
    for (int i = 0; i < 128; ++i) // bright in one place, dim and coloured elsewhere
        image += i == 91 ? " 'ffffffff'" : fmt::format(" '{:02x}{:02x}08ff'", i / 8, 16 - i / 8);
    image += '\n';
    const std::string parameters = "\"texture\" \"sky\", \"rotation\" 40, \"gain\" 4 4 4 1";
    TestScene all;
    all.width = 128;
    all.height = 64;
    all.camera = "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1";
    all.beforeCamera = image;
    all.cameraStatements = "environment \"velaEnvironmentLatLong\" ( " + parameters + " )\n";
    all.lens = "lens \"velaLatLongLens\" ( )";
    const RenderedScene sky(all);
    double expected[3] = {};
    sky.eachPixel([&](int x, int y) {
        const double longitude = 2 * pi * ((x + 0.5) / 128 - 0.5), latitude = pi * ((y + 0.5) / 64 - 0.5);
        const double cosine = -std::cos(longitude) * std::cos(latitude); // with +z
        const double share = std::max(0.0, cosine) * std::cos(latitude) * (2 * pi / 128) * (pi / 64) / pi;
        const miColor color = sky.pixel("main", x, y);
        expected[0] += color.r * share;
        expected[1] += color.g * share;
        expected[2] += color.b * share;
    });
    TestScene scene;
    scene.contents = image + white() + lamp("\"velaDomeLight\" ( " + parameters + " )", "user 32 32") +
                     card("wall", "white", 0, 0, 0, 8);
    const miColor seen = RenderedScene(scene).middle();
    EXPECT_GT(expected[0], 0.05);
    EXPECT_NEAR(seen.r / expected[0], 1.0, 0.02);
    EXPECT_NEAR(seen.g / expected[1], 1.0, 0.02);
    EXPECT_NEAR(seen.b / expected[2], 1.0, 0.02);
}

/// Gathering adds what the dome does not light directly, and the environment of a dome not twice.
TEST(DomeLight, IsNotGatheredAgain) {
    for (const bool feeds : {false, true}) {
        TestScene scene;
        scene.extraOptions = "finalgather on finalgather accuracy 64 finalgather presample density 0";
        scene.cameraStatements = "environment \"velaEnvironmentLatLong\" ( " + evenSky +
                                 (feeds ? "" : ", \"feedsGather\" off") + " )\n";
        scene.contents = white() + lamp("\"velaDomeLight\" ( " + evenSky + " )", "user 16 16") +
                         card("wall", "white", 0, 0, 0, 8);
        EXPECT_NEAR(RenderedScene(scene).middle().r, feeds ? 2.0f : 1.0f, 0.04f) << feeds;
    }
}

/// A mesh lights as the rectangle of its shape; one that no ray sees lights all the same.
TEST(ShapeLight, LightsAsTheExactRectangle) {
    const std::string wall = white() + card("wall", "white", 0, 0, 0, 8);
    TestScene exact;
    exact.contents =
        wall + "light \"lamp\" \"orcaVelaAreaLight\" ( \"intensity\" 3 ) origin 0 0 0 end light\n"
               "instance \"lamp_inst\" \"lamp\" transform 1 0 0 0 0 1 0 0 0 0 1 0 0.5 0 -1 1 end instance\n";
    const RenderedScene rectangle(exact);
    for (const char* const flags : {"", " visible off trace off shadow off"}) {
        std::string mesh = turnedCard("emitter", "white", -0.5f, 0, 1, 1, 180) +
                           card("unlit side", "white", 0, 0, -5, 0.5f); // not below the emitter
        mesh.insert(mesh.find(" end instance"), flags);
        TestScene scene;
        scene.camera = "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -0.5 1"; // below the lamp
        scene.contents =
            wall + mesh + lamp("\"orcaVelaShapeLight\" ( \"intensity\" 3 )", "object \"emitter\" 24 24");
        const RenderedScene picture(scene);
        for (const int x : {2, 6, 9, 14})
            EXPECT_NEAR(picture.pixel("main", x, 7).r / rectangle.pixel("main", x, 7).r, 1.0f, 0.02f) << x;
    }
}

TEST(ShapeLight, WithoutSurfacesIsAnErrorThatNamesTheLight) {
    TestScene scene;
    scene.contents = white() + card("wall", "white", 0, 0, 0, 8) +
                     card("emitter", "white", 0, 0, 2, 1, "hide on") +
                     lamp("\"orcaVelaShapeLight\" ( )", "object \"emitter\"");
    EXPECT_TRUE(
        RenderedScene(scene.text()).logged("light \"lamp\": what it names as its emitter has no surfaces"));
}

} // namespace
} // namespace orca::test
