// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"
#include "temporary_directory.h"

namespace orca::test {
namespace {

/// Fur on a card of 4 square units with texture coordinates.
std::string furScene(const std::string& parameters, const std::string& surface = "ground_mesh",
                     const std::string& before = "") {
    TestScene scene;
    scene.perspective = true;
    scene.width = scene.height = 32;
    scene.passes = {"diffuse"};
    scene.contents =
        before + white() + directionalLight("sun", "", "0.3 0.2 -1") +
        "object \"ground_mesh\" visible shadow trace group -1 -1 0 1 -1 0 1 1 0 -1 1 0 0 0 0 1 0 0 1 1 0 "
        "0 1 0 v 0 t 4 v 1 t 5 v 2 t 6 v 3 t 7 p \"white\" 0 1 2 3 end group end object\n"
        "instance \"ground\" \"ground_mesh\" end instance\n"
        "instance \"fur\" geometry \"velaFurGenerator\" ( \"surface\" \"" +
        surface + "\", " + parameters + " ) material \"white\" end instance\n";
    return scene.text();
}

std::size_t hairsOf(const std::string& parameters, const std::string& before = "") {
    const RenderedScene picture(furScene("\"segments\" 1, " + parameters, "ground_mesh", before));
    EXPECT_EQ(picture.complaints(), std::vector<std::string>());
    return picture.result().statistics.hairSegments;
}

TEST(FurGenerator, GrowsAreaTimesDensity) {
    EXPECT_EQ(hairsOf("\"density\" 250"), 1000u);
    EXPECT_EQ(hairsOf("\"density\" 33.4"), 134u);
    EXPECT_NEAR(double(hairsOf("\"density\" 1000, \"densityMap\" 0.3")), 1200.0, 90.0);
    const TemporaryDirectory folder; // an image that is white over a quarter of the card
    folder.write("quarter.ppm", "P3 4 1 255  255 255 255  0 0 0  0 0 0  0 0 0\n");
    const std::string map = fmt::format(
        "color texture \"image\" \"{}\"\nshader \"quarter\" \"velaFileTexture\" ( \"texture\" \"image\" )\n",
        folder.file("quarter.ppm"));
    EXPECT_NEAR(double(hairsOf("\"density\" 1000, \"densityMap\" = \"quarter.outLuminance\"", map)), 1000.0,
                80.0);
}

TEST(FurGenerator, IsTheSameForAnyThreadsAndAnotherForAnotherSeed) {
    const std::string parameters = "\"density\" 300, \"curl\" 0.1, \"clumping\" 0.5, \"clumpSize\" 0.3, "
                                   "\"length\" 0.4, \"rootWidth\" 0.03, \"seed\" ";
    const RenderedScene one(furScene(parameters + "1"));
    RenderedScene::Settings threads;
    threads.threads = 3;
    const RenderedScene three(furScene(parameters + "1"), threads), other(furScene(parameters + "2"));
    EXPECT_EQ(one.words("diffuse"), three.words("diffuse"));
    EXPECT_NE(one.words("diffuse"), other.words("diffuse"));
}

TEST(FurGenerator, FaultsAreNamed) {
    const auto says = [](const std::string& scene, const std::string& message) {
        EXPECT_TRUE(RenderedScene(scene).logged(message)) << message;
    };
    says(furScene("\"density\" 300, \"mostHairs\" 1199"), "ask for 1200 hairs");
    says(furScene("\"density\" 0"), "no hair grows");
    says(furScene("\"density\" 3", "sun_inst"), "neither an object nor an instance of one");
    says(furScene("\"density\" 3", "sun_inst"), "\"surface\" names no mesh");
}

} // namespace
} // namespace orca::test
