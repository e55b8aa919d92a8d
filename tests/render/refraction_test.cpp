// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>

namespace orca::test {
namespace {

constexpr float degree = 3.14159265f / 180.0f;

std::string glass(const std::string& parameters) {
    return lambert("glass",
                   "\"color\" 0 0 0 1, \"transparency\" 1 1 1 1, \"refractionsOn\" on, " + parameters);
}

std::string glowing(const std::string& name, const std::string& color) {
    return lambert(name, "\"color\" 0 0 0 1, \"incandescence\" " + color + " 1");
}

TestScene throughGlass() {
    TestScene scene;
    scene.traceDepth = "4 6 8";
    scene.passes = {"beauty", "refraction"};
    scene.passFlags = {"", "\"shadowed\" on"}; // refraction of the first level alone
    return scene;
}

/// A wall that shows where it is, behind a slab turned about y.
float seenThroughSlab(float thickness, float degrees, float index) {
    TestScene scene = throughGlass();
    scene.contents =
        "link \"orca-test-shaders.so\"\n"
        "declare shader color \"testShowPoint\" ( ) version 1 end declare\n"
        "material \"ruler\" \"testShowPoint\" ( ) end material\n" +
        glass(fmt::format("\"refractiveIndex\" {}", index)) + card("wall", "ruler", 0, 0, -9, 40) +
        box("slab", "glass", 9, 9, thickness / 2) +
        fmt::format("instance \"turned\" \"slab_mesh\" transform {0} 0 {1} 0 0 1 0 0 {2} 0 {0} 0 0 0 0 1 "
                    "end instance\n",
                    std::cos(degrees * degree), -std::sin(degrees * degree), std::sin(degrees * degree));
    scene.members = {"wall", "turned"};
    const RenderedScene picture(scene.text());
    EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    const miColor seen = picture.pixel("main", 8, 8);
    EXPECT_NEAR(seen.g, 0.125f, 1e-4f); // nothing bends up or down
    return std::abs(seen.r - 0.125f);   // the pixel's centre
}

TEST(Refraction, ShiftsRaysThroughASlabAsSnellHasIt) {
    for (const float degrees : {0.0f, 25.0f, 60.0f})
        for (const float index : {1.0f, 1.33f, 1.8f}) {
            const float inside = std::asin(std::sin(degrees * degree) / index);
            const float expected = 1.5f * std::sin(degrees * degree - inside) / std::cos(inside);
            EXPECT_NEAR(seenThroughSlab(1.5f, degrees, index), expected, 2e-4f) << degrees << ' ' << index;
        }
}

TEST(Refraction, AbsorbsByTheLengthOfTheWayInside) {
    for (const float thickness : {0.5f, 2.0f}) {
        TestScene scene = throughGlass();
        scene.contents = glowing("white", "1 1 1") +
                         glass("\"refractiveIndex\" 1.5, \"lightAbsorbance\" 0.4") +
                         card("wall", "white", 0, 0, -9, 40) + box("slab", "glass", 9, 9, thickness / 2);
        scene.members = {"wall", "slab"};
        const RenderedScene picture(scene.text());
        const float seen = picture.pixel("main", 8, 8).r;
        EXPECT_NEAR(seen, std::exp(-0.4f * thickness), 1e-4f) << thickness;
        EXPECT_NEAR(picture.pixel("refraction", 8, 8).r, seen, 1e-6f);
        EXPECT_NEAR(picture.pixel("beauty", 8, 8).r, seen, 1e-6f);
    }
}

/// A prism throws what comes from the front down to a board, if its index is above that of the critical
/// angle of 45 degrees.
miColor seenInPrism(float index) {
    TestScene scene = throughGlass();
    scene.contents =
        glowing("red", "1 0 0") + glowing("blue", "0 0 1") +
        glass(fmt::format("\"refractiveIndex\" {}", index)) +
        "object \"prism_mesh\" visible shadow trace group\n"
        "-3 -1 1  3 -1 1  3 1 1  -3 1 1  -3 -1 -1  3 -1 -1\nv 0 v 1 v 2 v 3 v 4 v 5\n"
        "p \"glass\" 0 1 2 3\np \"glass\" 0 4 5 1\np \"glass\" 3 2 5 4\np \"glass\" 0 3 4\np \"glass\" 1 5 "
        "2\n"
        "end group end object\ninstance \"prism\" \"prism_mesh\" end instance\n" +
        card("wall", "blue", 0, 0, -9, 40) +
        "object \"board_mesh\" visible shadow trace group\n-40 -5 40 40 -5 40 40 -5 -8 -40 -5 -8\nv 0 v 1 v "
        "2 v 3\n"
        "p \"red\" 0 1 2 3\nend group end object\ninstance \"board\" \"board_mesh\" end instance\n";
    scene.members = {"prism", "wall", "board"};
    const RenderedScene picture(scene.text());
    EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    const miColor seen = picture.pixel("main", 8, 9);
    EXPECT_NEAR(picture.pixel("beauty", 8, 9).r, seen.r, 1e-6f);
    EXPECT_NEAR(picture.pixel("beauty", 8, 9).b, seen.b, 1e-6f);
    return seen;
}

TEST(Refraction, IsTotalReflectionBeyondTheCriticalAngle) {
    EXPECT_NEAR(seenInPrism(1.45f).r, 1.0f, 1e-5f); // sine of 45 degrees is above 1 / 1.45
    EXPECT_NEAR(seenInPrism(1.45f).b, 0.0f, 1e-5f);
    EXPECT_NEAR(seenInPrism(1.2f).b, 1.0f, 1e-5f);
    EXPECT_NEAR(seenInPrism(1.2f).r, 0.0f, 1e-5f);
}

} // namespace
} // namespace orca::test
