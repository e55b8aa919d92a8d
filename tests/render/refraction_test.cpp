// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <cmath>

namespace orca::test {
namespace {

constexpr float degree = 3.14159265f / 180.0f;

std::string glass(const std::string& parameters) {
    return lambert("glass",
                   "\"color\" 0 0 0 1, \"transparency\" 1 1 1 1, \"refractionsOn\" on, " + parameters);
}
/// An instance of an object that is turned about y.
std::string turned(const std::string& object, float degrees) {
    const float c = std::cos(degrees * degree), s = std::sin(degrees * degree);
    return fmt::format(
        "instance \"turned\" \"{}\" transform {} 0 {} 0 0 1 0 0 {} 0 {} 0 0 0 0 1 end instance\n", object, c,
        -s, s, c);
}
TestScene throughGlass() {
    TestScene scene;
    scene.traceDepth = "4 6 8";
    scene.passes = {"beauty", "refraction"};
    scene.passFlags = {"", "\"shadowed\" on"}; // refraction of the first level alone
    return scene;
}

/// A wall that shows where it is, behind a slab turned about y.
TEST(Refraction, ShiftsRaysThroughASlabAsSnellHasIt) {
    constexpr float thickness = 1.5f;
    for (const float degrees : {0.0f, 60.0f})
        for (const float index : {1.0f, 1.33f, 1.8f}) {
            TestScene scene = throughGlass();
            scene.contents = "material \"ruler\" \"testShowPoint\" ( ) end material\n" +
                             glass(fmt::format("\"refractiveIndex\" {}", index)) +
                             card("wall", "ruler", 0, 0, -9, 40) + box("slab", "glass", 9, 9, thickness / 2) +
                             turned("slab_mesh", degrees);
            scene.members = {"wall", "turned"};
            const miColor seen = RenderedScene(scene).middle();
            const float inside = std::asin(std::sin(degrees * degree) / index);
            const float expected = thickness * std::sin(degrees * degree - inside) / std::cos(inside);
            EXPECT_NEAR(std::abs(seen.r - 0.125f), expected, 2e-4f) << degrees << ' ' << index;
            EXPECT_NEAR(seen.g, 0.125f, 1e-4f); // nothing bends up or down
        }
}

TEST(Refraction, AbsorbsByTheLengthOfTheWayInside) {
    for (const float thickness : {0.5f, 2.0f}) {
        TestScene scene = throughGlass();
        scene.contents = glowing("white", "1 1 1") +
                         glass("\"refractiveIndex\" 1.5, \"lightAbsorbance\" 0.4") +
                         card("wall", "white", 0, 0, -9, 40) + box("slab", "glass", 9, 9, thickness / 2);
        const RenderedScene picture(scene);
        const float seen = picture.middle().r;
        EXPECT_NEAR(seen, std::exp(-0.4f * thickness), 1e-4f) << thickness;
        EXPECT_NEAR(picture.pixel("refraction", 8, 8).r, seen, 1e-6f);
        EXPECT_NEAR(picture.pixel("beauty", 8, 8).r, seen, 1e-6f);
    }
}

/// A prism throws what comes from the front down to a board, if its index is above that of the critical
/// angle of 45 degrees.
TEST(Refraction, IsTotalReflectionBeyondTheCriticalAngle) {
    for (const auto& [index, expected] :
         {std::pair(1.45f, miColor{1, 0, 0, 1}), std::pair(1.2f, miColor{0, 0, 1, 1})}) {
        TestScene scene = throughGlass();
        scene.contents = glowing("red", "1 0 0") + glowing("blue", "0 0 1") +
                         glass(fmt::format("\"refractiveIndex\" {}", index)) +
                         "object \"prism_mesh\" visible shadow trace group\n"
                         "-3 -1 1  3 -1 1  3 1 1  -3 1 1  -3 -1 -1  3 -1 -1\nv 0 v 1 v 2 v 3 v 4 v 5\n"
                         "p \"glass\" 0 1 2 3\np \"glass\" 0 4 5 1\np \"glass\" 3 2 5 4\n"
                         "p \"glass\" 0 3 4\np \"glass\" 1 5 2\nend group end object\n"
                         "instance \"prism\" \"prism_mesh\" end instance\n" +
                         card("wall", "blue", 0, 0, -9, 40) + turnedCard("board", "red", 0, -5, 16, 24, -90);
        const RenderedScene picture(scene);
        expectColor(picture.pixel("main", 8, 9), expected, 1e-5f);
        expectColor(picture.pixel("beauty", 8, 9), expected, 1e-5f, "beauty");
    }
}

/// A window before a wall that is black below y = 0 and white above, seen at 45 degrees.
TEST(ChromaticAberration, BendsBlueMoreThanRedAndKeepsTheBeautyThePicture) {
    const float spread = 0.6f; // more than any glass, to be seen by the pixel
    TestScene scene = throughGlass();
    scene.height = scene.width = 64; // 16 rows a scene unit
    scene.contents = glowing("white", "1 1 1") +
                     glass(fmt::format("\"refractiveIndex\" 1.5, \"chromaticAberration\" {}", spread)) +
                     turnedCard("window", "glass", 0, 0, 2, 12, 45) + card("wall", "white", 0, 8, -4, 8);
    const RenderedScene picture(scene);
    /// First row from below, in scene units from the middle, in which a component is white.
    const auto edge = [&](float miColor::*component) {
        int y = 0;
        while (y < 64 && picture.pixel("main", 32, y).*component < 0.5f) ++y;
        return static_cast<float>(y) / 16.0f - 2.0f;
    };
    const float in = 45 * degree;
    for (const auto& [component, index] : {std::pair{&miColor::r, 1.5f - 0.5f * spread * 0.5f},
                                           {&miColor::g, 1.5f},
                                           {&miColor::b, 1.5f + 0.5f * spread * 0.5f}}) {
        const float y = edge(component);
        const float depth = 6.0f + y; // the face leans to the eye upward: z = 2 + y
        EXPECT_NEAR(std::abs(y), depth * std::tan(in - std::asin(std::sin(in) / index)), 1.0f / 16.0f)
            << index;
    }
    picture.eachPixel([&](int x, int y) {
        expectColor(picture.pixel("beauty", x, y), picture.pixel("main", x, y), 1e-5f, "beauty");
        expectColor(picture.pixel("refraction", x, y), picture.pixel("main", x, y), 1e-5f, "refraction");
    });
    // Each of the three rays counts once: white stays white away from the edge.
    expectColor(picture.pixel("main", 32, 60), {1, 1, 1, 1}, 1e-5f);
}

} // namespace
} // namespace orca::test
