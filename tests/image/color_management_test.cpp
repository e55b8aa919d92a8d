// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <OpenImageIO/imageio.h>

#include <array>
#include <string>

/// Colours by a configuration of OpenColorIO.
namespace orca::image::test {

namespace {

constexpr const char* configuration = R"(ocio_profile_version: 1
strictparsing: true
roles:
  default: wide
  scene_linear: wide
displays:
  Screen:
    - !<View> {name: Plain, colorspace: wide}
    - !<View> {name: Brighter, colorspace: half light}
active_displays: []
active_views: []
colorspaces:
  - !<ColorSpace> {name: wide}
  - !<ColorSpace>
    name: half light
    to_reference: !<MatrixTransform> {matrix: [0.5, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 1]}
  - !<ColorSpace>
    name: swapped
    to_reference: !<MatrixTransform> {matrix: [0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]}
)";

const std::string passes = " --passes beauty "; // so that the scene needs no state shaders

struct ColorManagement : Command {
    void SetUp() override {
        directory.write("config.ocio", configuration);
        directory.write("other.ppm", std::string("P6 1 1 255\n") + "\x33\x66\x19");
    }
    /// A card that glows, by a colour or an image of a space.
    static std::string glowing(const std::string& value, const std::string& before = "") {
        return litCards + before +
               "incremental shader \"red\" \"orcaVelaLambert\" ( \"color\" 0 0 0 1, \"incandescence\" " +
               value + " )\n" + renderIt;
    }
    /// Red, green and blue of the middle of a picture, in 1/255.
    std::array<int, 3> middle(const char* file) {
        const auto input = OIIO::ImageInput::open(directory.path() + "/" + file);
        std::array<unsigned char, 16 * 8 * 3> pixels{};
        EXPECT_TRUE(input && input->spec().nchannels == 3 &&
                    input->read_image(0, 0, 0, 3, OIIO::TypeDesc::UINT8, pixels.data()));
        const unsigned char* const pixel = &pixels[(4 * 16 + 7) * 3];
        return {pixel[0], pixel[1], pixel[2]};
    }
};

TEST_F(ColorManagement, ConvertsColoursAndImagesOfTheScene) {
    scene("color.mi", glowing("colorprofile \"swapped\" 0.1 0.4 0.2 1"));
    scene("image.mi", glowing("= \"picture.outColor\"",
                              "link \"velabase.so\"\n$include <velabase.mi>\n"
                              "color texture \"other\" colorprofile \"swapped\" \"other.ppm\"\n"
                              "shader \"picture\" \"velaFileTexture\" ( \"texture\" \"other\" )\n"));
    for (const std::string scene : {"color.mi --ocio config.ocio", "image.mi --ocio config.ocio"}) {
        ASSERT_EQ(run(scene + passes + "--pixel 7,4"), 0) << output;
        const std::vector<double> seen = layerValues(output, "main");
        ASSERT_EQ(seen.size(), 4u) << output;
        EXPECT_NEAR(seen[0], 0.4, 1e-5);
        EXPECT_NEAR(seen[1], scene[0] == 'c' ? 0.1 : 0.2, 1e-5);
        EXPECT_NEAR(seen[2], scene[0] == 'c' ? 0.2 : 25 / 255.0, 1e-5);
    }
    EXPECT_EQ(run("color.mi" + passes + "--pixel 7,4", "OCIO=config.ocio"), 0) << output;
    expectCalls(
        {{"color.mi", 3, {"need a colour configuration (--ocio, $OCIO)"}},
         {"color.mi --ocio none.ocio", 2, {"\"none.ocio\" (--ocio) cannot be used: there is no such file"}},
         {"color.mi --ocio other.ppm", 2, {"\"other.ppm\" (--ocio) cannot be used: "}}});
    scene("unknown.mi", glowing("colorprofile \"swaped\" 0.1 0.4 0.2 1"));
    EXPECT_EQ(run("unknown.mi --ocio config.ocio"), 3);
    EXPECT_TRUE(says("\"wide\" \"half light\" \"swapped\"")) << output;
}

TEST_F(ColorManagement, ShowsPicturesByDisplayAndView) {
    scene("lit.mi", glowing("0.1 0.4 0.2 1"));
    const std::pair<const char*, std::array<int, 3>> cases[] = {
        {"", {89, 170, 124}}, // the curve of sRGB
        {"--ocio config.ocio", {26, 102, 51}},
        {"--ocio config.ocio --display Screen --view Brighter --gamma 2.2", {51, 204, 102}}};
    for (const auto& [options, shown] : cases) {
        ASSERT_EQ(run("lit.mi" + passes + "-o a.exr --png a.png " + options), 0) << output;
        EXPECT_EQ(middle("a.png"), shown) << options;
    }
    ASSERT_EQ(run("lit.mi" + passes + "-o a.exr --png a.png", "OCIO=config.ocio"), 0) << output;
    EXPECT_EQ(middle("a.png"), cases[0].second); // nothing has asked for it
    ASSERT_EQ(run("lit.mi" + passes + "-o a.exr --png a.png --view Brighter", "OCIO=config.ocio"), 0)
        << output;
    EXPECT_EQ(middle("a.png"), cases[2].second);
    expectCalls(
        {{"lit.mi --view Plain", 2, {"--display and --view are of a colour configuration"}},
         {"lit.mi --ocio config.ocio --display Wall", 2, {"no display \"Wall\"; there are \"Screen\""}},
         {"lit.mi --ocio config.ocio --view Brigther",
          2,
          {"did you mean \"Brighter\"?", "there are \"Plain\", \"Brighter\""}}});
}

} // namespace

} // namespace orca::image::test
