// SPDX-License-Identifier: Apache-2.0
#include "support/rendered_scene.h"
#include "support/scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orca::test {

namespace {

/// A film that moves over cards of even light, all out of focus, with what the renderer and the passes show
/// of them.
TestScene evenCards() {
    TestScene scene;
    scene.perspective = true;
    scene.lens =
        "lens \"velaThinLens\" ( \"focusDistance\" 7, \"apertureRadius\" 0.15 ) \"orcaFrameBufferLens\" ( )";
    scene.passes = {"beauty", "diffuse"};
    scene.passFlags = {"", "\"shadowed\" on, \"weightByOpacity\" on"};
    scene.cameraStatements = "framebuffer \"coverage\" datatype \"coverage\" filtering on\n"
                             "environment \"testSky\" ( \"color\" 0.1 0.2 0.4 1 )\n";
    scene.contents =
        directionalLight("sun", "\"useRayTraceShadows\" off", "0 0 -1") +
        lambert("film", "\"color\" 0.9 0.5 0.25 1, \"transparency\" 0.5 0.25 0.75 1") +
        lambert("left", "\"color\" 0.2 0.8 0.3 1") + lambert("right", "\"color\" 0.7 0.1 0.6 1") +
        card("pane", "film", 0.3f, 0.2f, 1, 1.2f, "motion transform 1 0 0 0 0 1 0 0 0 0 1 0 -0.9 -0.5 -1 1") +
        card("one", "left", -0.9f, 0, 0, 1) + card("two", "right", 0.8f, -0.4f, -1, 1);
    return scene;
}

} // namespace

TEST(Rasterizer, ShadesEachSurfaceOfAPixelOnceAndSeesItOften) {
    TestScene scene = evenCards();
    const std::string options = "shutter 0 1\nmotion on\nscanline rapid\n";
    // Where all of a surface looks the same, it does not matter which of its points are shaded.
    scene.extraOptions = options + "samples collect 1";
    scene.samples = "2 2";
    const RenderedScene shadedOften(scene);
    scene.extraOptions = options;
    scene.samples = "0 0";
    const RenderedScene shadedOnce(scene);
    shadedOnce.eachPixel([&](int x, int y) {
        for (const char* layer : {"main", "beauty", "diffuse", "coverage"})
            expectColor(shadedOnce.pixel(layer, x, y), shadedOften.pixel(layer, x, y), 1e-5f, layer);
    });
    const std::uint64_t pixels = 16 * 16;
    EXPECT_GT(shadedOften.result().statistics.rays.materialCalls, 12 * pixels);
    EXPECT_LT(shadedOnce.result().statistics.rays.materialCalls,
              4 * pixels); // the film and a card, alone and behind it
}

TEST(Rasterizer, ShadesAsOftenAsAsked) {
    // The penumbra of a lamp looks different at every point of a pixel.
    TestScene scene;
    scene.contents =
        "light \"lamp\" \"orcaVelaAreaLight\" ( \"intensity\" 9, \"shadowRays\" 1 ) origin 0 0 0 end light\n"
        "instance \"lamp_inst\" \"lamp\" transform 1 0 0 0 0 1 0 0 0 0 1 0 -0.5 0 -4 1 end instance\n" +
        white() + card("blocker", "white", 0.3f, 0.4f, 2, 0.6f) + card("floor", "white", 0, 0, 0, 8);
    const auto render = [&](const char* samples, const std::string& options) {
        scene.samples = samples;
        scene.extraOptions = options;
        return RenderedScene(scene).words("main");
    };
    const std::string rapid = "scanline rapid\n";
    const std::vector<float> all = render("1 1", rapid + "samples collect 1"),
                             same = render("0 0", rapid + "samples collect 2 shading samples 4"),
                             once = render("0 0", rapid + "samples collect 2"),
                             many = render("3 3", rapid + "samples collect 2"), traced = render("3 3", "");
    const auto apart = [](const std::vector<float>& a, const std::vector<float>& b) {
        double sum = 0;
        for (std::size_t i = 0; i < a.size(); ++i) sum += std::abs(a[i] - b[i]);
        return sum;
    };
    EXPECT_LT(apart(same, all), 1e-5 * static_cast<double>(all.size()));
    EXPECT_LT(apart(all, traced), apart(once, traced));
    EXPECT_LT(apart(many, traced),
              0.09 * apart(once, traced)); // shadings are spread over the light as samples are
}

} // namespace orca::test
