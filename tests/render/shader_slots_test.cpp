// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace orca::test {
namespace {

struct SlotCase {
    const char* material; ///< statements of the card's material
    const char* others;   ///< what comes before it
    miColor pixel;
    std::vector<std::string> complaints; ///< parts of all of them
};
class ShaderSlots : public ::testing::TestWithParam<SlotCase> {};

TEST_P(ShaderSlots, TakeEveryShaderAndSayWhatDoesNotFit) {
    TestScene scene;
    scene.contents = "shader \"record\" \"testRecord\" ( \"color\" 0.2 0.4 0.6 1 )\n"
                     "shader \"sky\" \"testSky\" ( \"color\" 0.5 0.5 0.5 1 )\n"
                     "shader \"slope\" \"testSlope\" ( \"slope\" 0 0 0 )\n" +
                     std::string(GetParam().others) +
                     fmt::format("material \"m\" {} end material\n", GetParam().material) +
                     card("wall", "m", 0, 0, 0, 3);
    const RenderedScene picture(scene.text());
    const std::vector<std::string> said = picture.complaints();
    ASSERT_EQ(said.size(), GetParam().complaints.size()) << (said.empty() ? "" : said.front());
    for (std::size_t i = 0; i < said.size(); ++i)
        EXPECT_NE(said[i].find(GetParam().complaints[i]), std::string::npos) << said[i];
    expectColor(picture.middle(), GetParam().pixel, 1e-6f);
    EXPECT_EQ(picture.middle().a, GetParam().pixel.a);
}

constexpr const char* record = "\"testRecord\" ( \"color\" 0.2 0.4 0.6 1 )";

INSTANTIATE_TEST_SUITE_P(
    All, ShaderSlots,
    ::testing::Values(
        // A record's first colour is rendered, and the engine named that is declared.
        SlotCase{record, "", {0.2f, 0.4f, 0.6f, 1}, {"as in \"orcaVelaShadingEngine\" ( \"surfaceShader\""}},
        SlotCase{"\"orcaVelaSurfaceShader\" ( \"color\" 0.5 0.25 0 1 )",
                 "",
                 {0.5f, 0.25f, 0, 1},
                 {"\"orcaVelaSurfaceShader\" returns a record"}},
        // Shaders that call shaders: one colour, or all that they know of.
        SlotCase{"\"testCall\" ( \"called\" \"record\" )", "", {0.2f, 0.4f, 0.6f, 0}, {}},
        SlotCase{"\"testCall\" ( \"called\" \"record\", \"asks\" on )", "", {0.25f, 0.2f, 0.4f, 17}, {}},
        SlotCase{"\"testCall\" ( \"called\" \"call\" )",
                 "shader \"call\" \"testCall\" ( \"called\" \"record\", \"asks\" on )\n",
                 {0.25f, 0.2f, 0.4f, 0},
                 {}},
        // The other slots: the first member of the type that the slot is for.
        SlotCase{"\"testShowPoint\" ( ) displace = \"record\"", "", {0.125f, 0.125f, 0.25f, 1}, {}},
        SlotCase{"\"orcaVelaShadingEngine\" ( \"surfaceShader\" \"surface\" ) shadow = \"record\" "
                 "volume = \"record\" environment = \"record\"",
                 "shader \"surface\" \"orcaVelaLambert\" ( \"color\" 1 1 1 1, \"diffuse\" 1 )\n"
                 "light \"sun\" = \"record\" direction 0 0 -1 end light\n"
                 "instance \"sun_inst\" \"sun\" end instance\n",
                 {0.2f, 0.4f, 0.6f, 1},
                 {}},
        // Declarations that do not fit.
        SlotCase{
            "\"testSky\" ( \"color\" 1 1 1 1 )",
            "",
            {1, 1, 1, 1},
            {"\"testSky\" is used as a material shader, but its declaration says \"apply environment\""}},
        SlotCase{"\"testSlope\" ( \"slope\" 0 0 0 )",
                 "",
                 {0, 0, 0, 0},
                 {"a material shader returns a color, but \"testSlope\" is declared to return a scalar"}},
        // What parameters name: the message is placed where they are given.
        SlotCase{
            "\"orcaVelaShadingEngine\" ( \"surfaceShader\" \"sky\" )",
            "",
            {0.5f, 0.5f, 0.5f, 0},
            {"\"surfaceShader\" of \"orcaVelaShadingEngine\": \"testSky\" is used as a material shader"}},
        SlotCase{"\"orcaVelaImagePlane\" ( \"imageTexture\" \"slope\" )",
                 "",
                 {0, 0, 0, 0},
                 {"\"imageTexture\" of \"orcaVelaImagePlane\": a texture shader returns a color"}}));

} // namespace
} // namespace orca::test
