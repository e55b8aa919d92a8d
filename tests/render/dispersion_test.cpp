// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orca::test {
namespace {

constexpr float floatNoise = 1e-5f;

/// A window before a wall that is black below y = 0 and white above, seen at an angle: turned about x by
/// `degrees`.
std::string turnedWindow(const std::string& material, float degrees) {
    const float angle = degrees * 3.14159265f / 180.0f;
    const float c = std::cos(angle), s = std::sin(angle);
    return surface(
               "glass", "orcaVelaPhong",
               "\"color\" 0 0 0 1, \"specularColor\" 0 0 0 1, \"reflectivity\" 0, \"transparency\" 1 1 1 1, "
               "\"refractionsOn\" on, \"refractiveIndex\" 1.5" +
                   material) +
           "object \"window_mesh\" visible shadow trace group -8 -8 0 8 -8 0 8 8 0 -8 8 0\n"
           "v 0 v 1 v 2 v 3 p \"glass\" 0 1 2 3 end group end object\n"
           "instance \"window\" \"window_mesh\" transform 1 0 0 0 0 " +
           std::to_string(c) + " " + std::to_string(-s) + " 0 0 " + std::to_string(s) + " " +
           std::to_string(c) + " 0 0 " + std::to_string(2 * s) + " " + std::to_string(-2 * c) +
           " 1 end instance\n";
}

TestScene behindWindow(const std::string& material, float degrees) {
    TestScene scene;
    scene.height = 64; // 16 rows a scene unit
    scene.width = 64;
    scene.passes = {"beauty", "refraction"};
    scene.passFlags = {"", "\"shadowed\" on"};
    scene.contents = lambert("white", "\"color\" 0 0 0 1, \"incandescence\" 1 1 1 1") +
                     turnedWindow(material, degrees) + card("wall", "white", 0, 8, -4, 8);
    scene.members = {"window", "wall"};
    return scene;
}

/// First row from below, in scene units from the middle, in which a component is white.
float edge(const RenderedScene& picture, float miColor::*component) {
    for (int y = 0; y < picture.height(); ++y)
        if (picture.pixel("main", 32, y).*component > 0.5f) return static_cast<float>(y) / 16.0f - 2.0f;
    return 2.0f;
}

/// Sideways shift of a ray on its way down to the wall behind one refracting face that is tilted.
float shiftBehindFace(float degrees, float index, float depth) {
    const float in = degrees * 3.14159265f / 180.0f;
    const float out = std::asin(std::sin(in) / index);
    return depth * std::tan(in - out);
}

TEST(ChromaticAberration, BendsBlueMoreThanRedAndKeepsTheBeautyThePicture) {
    const float degrees = 45, spread = 0.6f; // more than any glass, to be seen by the pixel
    const RenderedScene plain(behindWindow("", degrees).text());
    const RenderedScene spreads(behindWindow(", \"chromaticAberration\" 0.6", degrees).text());
    ASSERT_TRUE(spreads.complaints().empty()) << spreads.complaints().front();

    // The face is tilted, so it lies at a different depth in every row; its shifts still order by colour.
    EXPECT_EQ(edge(plain, &miColor::r), edge(plain, &miColor::b));
    EXPECT_EQ(edge(spreads, &miColor::g), edge(plain, &miColor::g));
    const float redIndex = 1.5f - 0.5f * spread * 0.5f, blueIndex = 1.5f + 0.5f * spread * 0.5f;
    for (const auto& [component, index] :
         {std::pair{&miColor::r, redIndex}, std::pair{&miColor::b, blueIndex}}) {
        const float y = edge(spreads, component);
        const float depth = 6.0f + y; // the face leans to the eye upward: z = 2 + y at 45 degrees
        EXPECT_NEAR(std::abs(y), shiftBehindFace(degrees, index, depth), 1.0f / 16.0f) << index;
    }
    for (int y = 0; y < 64; ++y) {
        EXPECT_NEAR(spreads.pixel("beauty", 32, y).b, spreads.pixel("main", 32, y).b, floatNoise) << y;
        EXPECT_NEAR(spreads.pixel("refraction", 32, y).r, spreads.pixel("main", 32, y).r, floatNoise) << y;
    }
    // Each of the three rays counts once: white stays white away from the edge.
    EXPECT_NEAR(spreads.pixel("main", 32, 60).g, spreads.pixel("main", 32, 60).r, floatNoise);
}

TEST(SurfaceThickness, ShiftsAndAbsorbsWithoutBending) {
    const float degrees = 60, thickness = 1.0f;
    const float in = degrees * 3.14159265f / 180.0f, out = std::asin(std::sin(in) / 1.5f);
    const float shift = thickness * std::sin(in - out) / std::cos(out);
    const RenderedScene thin(behindWindow(", \"surfaceThickness\" 0.0001", degrees).text());
    const RenderedScene pane(
        behindWindow(", \"surfaceThickness\" 1, \"lightAbsorbance\" 0.5", degrees).text());
    ASSERT_TRUE(pane.complaints().empty()) << pane.complaints().front();
    EXPECT_NEAR(edge(thin, &miColor::r), 0.0f, 1.0f / 16.0f);
    EXPECT_NEAR(std::abs(edge(pane, &miColor::r)), shift, 1.0f / 16.0f);
    const float left = std::exp(-0.5f * thickness / std::cos(out));
    EXPECT_NEAR(pane.pixel("main", 32, 62).r, left, 1e-4f);
    EXPECT_NEAR(pane.pixel("beauty", 32, 62).r, left, 1e-4f);
}

} // namespace
} // namespace orca::test
