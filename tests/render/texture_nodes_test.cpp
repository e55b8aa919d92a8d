// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>

namespace orca::test {
namespace {

using Texel = std::function<int(int x, int y)>; ///< a grey of 0 to 255

/// A texture of grey texels, rows bottom up.
std::string pixels(const std::string& name, int width, int height, const Texel& grey) {
    std::string text = fmt::format("color texture \"{}\" [ {} {} ]\n", name, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int g = grey(x, y);
            text += fmt::format("'{0:02x}{0:02x}{0:02x}ff'\n", g);
        }
    return text;
}

/// A square of half size 2 about the origin, facing +z, with texture coordinates from (0, 0) to (1, 1), and
/// its instance.
std::string texturedCard(const std::string& name, const std::string& material,
                         const std::string& statements = "") {
    return fmt::format("object \"{0}_mesh\" visible shadow trace group\n"
                       "-2 -2 0 2 -2 0 2 2 0 -2 2 0  0 0 0 1 0 0 1 1 0 0 1 0\n"
                       "v 0 t 4 v 1 t 5 v 2 t 6 v 3 t 7\np \"{1}\" 0 1 2 3\nend group end object\n"
                       "instance \"{0}\" \"{0}_mesh\" {2} end instance\n",
                       name, material, statements);
}

/// The card fills the picture and shows what `node` computes, unlit.
TestScene showing(const std::string& nodes, const std::string& connection) {
    TestScene scene;
    scene.contents = nodes +
                     lambert("shown", "\"color\" 0 0 0 1, \"incandescence\" = \"" + connection + "\"") +
                     texturedCard("card", "shown");
    return scene;
}

/// The card shows the texture as it is looked up without a node.
TestScene plate(const std::string& texture, const std::string& name) {
    TestScene scene;
    scene.contents = texture + "material \"plate\" \"orcaVelaImagePlane\" ( \"imageTexture\" \"" + name +
                     "\", \"displayMode\" 2 ) end material\n" + texturedCard("card", "plate");
    return scene;
}

TEST(FileTexture, AveragesTheTexelsThatAPixelCovers) {
    // Each pixel covers 4 x 4 texels of a gradient under strong noise.
    const Texel noisy = [](int x, int y) {
        std::uint32_t h = static_cast<std::uint32_t>(x * 7919 + y * 104729 + 17);
        h = (h ^ (h >> 7)) * 2654435761u;
        return static_cast<int>(80 + x) + (h >> 31 ? 60 : -60);
    };
    const auto error = [&](const TestScene& scene) {
        const RenderedScene picture(scene);
        double squares = 0.0;
        picture.eachPixel([&](int x, int y) {
            double box = 0.0;
            for (int i = 0; i < 16; ++i) box += noisy(4 * x + i % 4, 4 * y + i / 4) / 255.0 / 16.0;
            squares += std::pow(picture.pixel("main", x, y).g - box, 2);
        });
        return std::sqrt(squares / 256);
    };
    const std::string noise = pixels("noise", 64, 64, noisy);
    const auto node = [&](const char* filter) {
        return showing(noise + "shader \"tex\" \"velaFileTexture\" ( \"texture\" \"noise\", \"filter\" " +
                           filter + " )\n",
                       "tex.outColor");
    };
    // A pyramid's filter is no box, so its noise differs; a single texel's is four times as strong.
    EXPECT_LT(error(node("1")), 0.045);
    EXPECT_GT(error(node("0")), 0.1);
    // As the texture's own statement says.
    EXPECT_LT(error(plate("filter 1 " + noise, "noise")), 0.045);
    EXPECT_GT(error(plate(noise, "noise")), 0.1);
}

/// Texture coordinates that are not perpendicular: the footprint follows them.
TEST(Textures, StaySharpAcrossTheirFootprintWhenTheyAreSheared) {
    TestScene scene =
        plate("filter 1 " + pixels("rows", 4, 16, [](int, int y) { return y % 4 < 2 ? 255 : 0; }), "rows");
    const std::string straight = "0 0 0 1 0 0 1 1 0 0 1 0";
    scene.contents.replace(scene.contents.find(straight), straight.size(), "0 0 0 1 0 0 2 1 0 1 1 0");
    const RenderedScene picture(scene);
    for (int y = 0; y < 16; ++y)
        EXPECT_NEAR(picture.pixel("main", 8, y).g, y % 4 < 2 ? 1.0f : 0.0f, 0.15f) << y;
}

/// What has no texture coordinates is looked up at the origin, whatever was hit before.
TEST(FileTexture, IsReadAtTheOriginWithoutCoordinates) {
    TestScene scene =
        showing(pixels("steps", 4, 1, [](int x, int) { return 85 * x; }) +
                    "shader \"tex\" \"velaFileTexture\" ( \"texture\" \"steps\", \"filter\" 0 )\n",
                "tex.outColor");
    scene.contents += card("bare", "shown", 1.75f, 0, 1, 0.25f);
    const RenderedScene picture(scene);
    EXPECT_GT(picture.pixel("main", 13, 8).g, 0.9f);
    EXPECT_NEAR(picture.pixel("main", 15, 8).g, 0.5f, 0.01f); // between the last texel and the first
}

struct Placement {
    const char* what;
    std::string place, texture;
    int x, y; ///< pixel of 16 x 16
    float grey;
};
class Placed : public ::testing::TestWithParam<Placement> {};

TEST_P(Placed, FindsItsTexel) {
    // 4 x 1 texels: black, a third, two thirds, white.
    const RenderedScene picture(showing(
        pixels("steps", 4, 1, [](int x, int) { return 85 * x; }) + "shader \"place\" \"velaPlace2d\" ( " +
            GetParam().place + " )\nshader \"tex\" \"velaFileTexture\" ( \"texture\" \"steps\", " +
            "\"coordinate\" = \"place\", \"filter\" 0.01, \"defaultColor\" 0.1 0.1 0.1 1" +
            GetParam().texture + " )\n",
        "tex.outColor"));
    EXPECT_NEAR(picture.pixel("main", GetParam().x, GetParam().y).g, GetParam().grey, 0.05f)
        << GetParam().what;
}

// Pixel centres lie an eighth of a texel beside the texels' centres (a half where the texture repeats twice).
const float third = 1.0f / 3.0f;
INSTANTIATE_TEST_SUITE_P(
    Places, Placed,
    ::testing::Values(
        Placement{"as it is", "", "", 5, 3, third}, //
        Placement{"the right half again", "\"offsetU\" 0.5", "", 1, 3, 2 * third},
        Placement{"twice", "\"repeatU\" 0.5", "", 13, 3, third + third / 4},
        Placement{"clamped", "\"offsetU\" 1.5", ", \"wrapU\" 1", 3, 3, 1.0f},
        Placement{"mirrored by the texture", "\"offsetU\" 1", ", \"wrapU\" 2", 5, 3, 2 * third},
        Placement{"mirrored by the placement", "\"offsetU\" 1, \"mirrorU\" on", "", 5, 3, 2 * third},
        Placement{"beyond the image", "\"offsetU\" 1", ", \"wrapU\" 3", 5, 3, 0.1f},
        Placement{"beside its frame", "\"coverageU\" 0.5", "", 12, 3, 0.1f},
        Placement{"in its frame", "\"coverageU\" 0.5, \"translateFrameU\" 0.5", ", \"wrapU\" 1", 15, 3, 1.0f},
        Placement{"over the seam", "\"coverageU\" 0.5, \"translateFrameU\" 0.75", ", \"wrapU\" 1", 3, 3,
                  1.0f},
        Placement{"cut at the seam", "\"coverageU\" 0.5, \"translateFrameU\" 0.75, \"wrapU\" off", "", 3, 3,
                  0.1f},
        Placement{"a quarter turn", "\"rotateUV\" 90", "", 3, 5, third},
        Placement{"turned with its frame", "\"rotateFrame\" 180", "", 5, 3, 2 * third},
        Placement{"every other row shifted", "\"stagger\" on, \"repeatV\" 2", "", 5, 12, 1.0f}));

TEST(FileTexture, SaysThatAFileIsMissingAndShowsIt) {
    const TestScene scene = showing("color texture \"wood\" \"no such file.png\"\n"
                                    "shader \"tex\" \"velaFileTexture\" ( \"texture\" \"wood\" )\n",
                                    "tex.outColor");
    const RenderedScene picture(scene.text());
    ASSERT_EQ(picture.complaints().size(), 1u);
    EXPECT_TRUE(picture.logged("texture \"wood\": image \"no such file.png\" was not found"));
    expectColor(picture.middle(), {1, 0, 1, 1}, 0);
}

TEST(FileTexture, MakesProfilesLinearBeforeItFilters) {
    // Half black, half white under one wide footprint: half the light, not the light of the middle grey.
    TestScene scene =
        showing("color texture \"halves\" colorprofile \"sRGB\" [ 2 1 ] '404040ffffffffff'\n"
                "shader \"tex\" \"velaFileTexture\" ( \"texture\" \"halves\", \"filter\" 40 )\n",
                "tex.outColor");
    const RenderedScene picture(scene);
    EXPECT_NEAR(picture.pixel("main", 8, 8).g, (0.05127f + 1.0f) / 2, 2e-3f);

    const RenderedScene color(showing("shader \"ramp\" \"velaRamp\" ( \"entries\" [ { \"value\" colorprofile "
                                      "\"sRGB\" 0.5019608 0 1 1 } ] )\n",
                                      "ramp"));
    EXPECT_NEAR(color.pixel("main", 8, 8).r, 0.21586f, 1e-5f);
    EXPECT_EQ(color.pixel("main", 8, 8).b, 1.0f);
}

TEST(Checker, IsItsMeanWhereSquaresAreSmallAndItselfWhereTheyAreLarge) {
    const auto checker = [](const std::string& repeat, const std::string& more) {
        return showing("shader \"place\" \"velaPlace2d\" ( \"repeatU\" " + repeat + ", \"repeatV\" " +
                           repeat +
                           ", \"offsetU\" 0.003, \"offsetV\" 0.003 )\n"
                           "shader \"tex\" \"velaChecker\" ( \"color1\" 0.9 0.9 0.9 1, \"color2\" "
                           "0.1 0.1 0.1 1, \"coordinate\" = \"place\"" +
                           more + " )\n",
                       "tex");
    };
    const RenderedScene near(checker("2", "")), far(checker("313", "")),
        aliased(checker("313", ", \"filter\" 0"));
    far.eachPixel([&](int x, int y) {
        EXPECT_NEAR(far.pixel("main", x, y).g, 0.5f, 0.01f);
        EXPECT_GT(std::abs(aliased.pixel("main", x, y).g - 0.5f), 0.3f);
    });
    EXPECT_NEAR(near.pixel("main", 1, 1).g, 0.9f, 1e-4f);
    EXPECT_NEAR(near.pixel("main", 5, 1).g, 0.1f, 1e-4f);
    EXPECT_NEAR(near.pixel("main", 5, 5).g, 0.9f, 1e-4f);
}

/// The shading normal at the middle of the card, world space.
miVector normalOf(const std::string& nodes, const std::string& connection,
                  const std::string& statements = "") {
    TestScene scene;
    scene.passes = {"normal"};
    scene.contents = nodes + lambert("bent", "\"bumpNormal\" = \"" + connection + "\"") +
                     texturedCard("card", "bent", statements);
    const RenderedScene picture(scene);
    const miColor n = picture.pixel("normal", 9, 6);
    return {n.r, n.g, n.b};
}

void expectVector(const miVector& v, float x, float y, float z, float tolerance) {
    const float length = std::sqrt(x * x + y * y + z * z);
    EXPECT_NEAR(v.x, x / length, tolerance);
    EXPECT_NEAR(v.y, y / length, tolerance);
    EXPECT_NEAR(v.z, z / length, tolerance);
}

/// Height 2 scene units at the right (or upper) edge of the card, which is 4 wide.
std::string slope(bool alongU) {
    return fmt::format(
        "color texture \"rise\" \"velaRamp\" ( \"type\" {}, \"entries\" [ {{ \"position\" 0, "
        "\"value\" 0 0 0 1, \"interpolation\" 1 }}, {{ \"position\" 1, \"value\" 1 1 1 1 }} ] )\n"
        "shader \"tex\" \"velaFileTexture\" ( \"texture\" \"rise\" )\n"
        "shader \"bump\" \"velaBump2d\" ( \"height\" = \"tex.outLuminance\", \"depth\" 2 )\n",
        alongU ? 1 : 0);
}

TEST(Bump2d, BendsTheNormalByTheSlopeOfItsHeight) {
    constexpr float slopes = 2e-3f; // differences of single-precision heights over small steps
    expectVector(normalOf(slope(true), "bump"), -0.5f, 0, 1, slopes);
    expectVector(normalOf(slope(false), "bump"), 0, -0.5f, 1, slopes);
    // Turned half about y, the card's back is seen and u runs to the left: what is raised is seen sunk.
    expectVector(normalOf(slope(true), "bump", "transform -1 0 0 0 0 1 0 0 0 0 -1 0 0 0 0 1"), -0.5f, 0, 1,
                 slopes);
    // Half as wide, so twice as steep.
    expectVector(normalOf(slope(true), "bump", "transform 2 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1"), -1, 0, 1,
                 2 * slopes);
}

TEST(NormalMap, HoldsTheNormalInTheTexturesTangents) {
    const std::string map = "shader \"map\" \"velaNormalMap\" ( \"map\" 0.7 0.4 0.9 1";
    expectVector(normalOf(map + " )\n", "map"), 0.4f, -0.2f, 0.8f, 1e-4f);
    expectVector(normalOf(map + ", \"flipGreen\" on, \"strength\" 0.5 )\n", "map"), 0.2f, 0.1f, 0.8f, 1e-4f);
    expectVector(normalOf(map + " )\n", "map", "transform 0 -1 0 0 1 0 0 0 0 0 1 0 0 0 0 1"), 0.2f, 0.4f,
                 0.8f, 1e-4f);
    expectVector(normalOf(map + " )\n", "map", "transform -1 0 0 0 0 1 0 0 0 0 -1 0 0 0 0 1"), 0.4f, 0.2f,
                 0.8f, 1e-4f);
}

} // namespace
} // namespace orca::test
