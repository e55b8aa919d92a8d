// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orca::test {
namespace {

constexpr float floatNoise = 1e-4f;

/// A colour-buffer shader that writes half of `value`, red only.
std::string writeToBuffer(const std::string& name, int operation, const std::string& value,
                          const std::string& passThrough) {
    return fmt::format("shader \"{}\" \"orcaVelaWriteToColorBuffer\" ( \"bufferIndex\" 0, \"operation\" {}, "
                       "\"scale\" 0.5, \"passThrough\" {}, \"value\" {} 0 0 )\n",
                       name, operation, passThrough, value);
}

struct OperationCase {
    int operation;
    float expected; // two writes of 0.5 and 0.25 in one network, the first into a black buffer
};
class CustomBuffers : public ::testing::TestWithParam<OperationCase> {};

TEST_P(CustomBuffers, TakeWhatANetworkWritesOnTheWay) {
    const auto [operation, expected] = GetParam();
    TestScene scene;
    scene.passes = {"beauty", "custom"};
    scene.contents =
        writeToBuffer("first", 3, "1.0", "0.25 0.5 0.75 1") +
        writeToBuffer("second", operation, "0.5", "= \"first\"") +
        lambert("m", "\"color\" 0 0 0 1, \"incandescence\" = \"second\"") +
        lambert("pane", "\"color\" 0 0 0 1, \"transparency\" 0.5 0.5 0.5 1, \"refractionsOn\" on") +
        card("wall", "m", 0, 0, 0, 8) + card("window", "pane", 1, 0, 1, 1);
    scene.members = {"wall", "window"};
    const RenderedScene picture(scene.text());
    EXPECT_NEAR(picture.pixel("main", 2, 8).g, 0.5f, floatNoise); // passed through both
    EXPECT_NEAR(picture.pixel("custom", 2, 8).r, expected, floatNoise);
    EXPECT_NEAR(picture.pixel("custom", 12, 8).r, 0.5f * expected, floatNoise); // handed up from level 1
}

TEST_P(CustomBuffers, AreHandedUpByAMirrorAsItsReflectivitySays) {
    const auto [operation, expected] = GetParam();
    TestScene scene;
    scene.passes = {"beauty", "custom"};
    scene.contents = writeToBuffer("first", 3, "1.0", "0.25 0.5 0.75 1") +
                     writeToBuffer("second", operation, "0.5", "= \"first\"") +
                     lambert("m", "\"color\" 0 0 0 1, \"incandescence\" = \"second\"") +
                     surface("mirror", "orcaVelaPhong",
                             "\"color\" 0 0 0 1, \"specularColor\" 0.5 0.5 0.5 1, \"reflectivity\" 0.5") +
                     card("front", "mirror", 0, 0, 0, 8) + card("behind", "m", 0, 0, 12, 20, "visible off");
    scene.members = {"front", "behind"};
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    EXPECT_NEAR(picture.pixel("main", 8, 8).g, 0.25f * 0.5f, floatNoise);
    EXPECT_NEAR(picture.pixel("custom", 8, 8).r, 0.25f * expected, floatNoise);
}

INSTANTIATE_TEST_SUITE_P(Operations, CustomBuffers,
                         ::testing::Values(OperationCase{0, 0.5f}, OperationCase{1, 0.75f},
                                           OperationCase{2, 0.125f}, OperationCase{3, 0.25f},
                                           OperationCase{5, 0.75f}));

/// Levels belong to surfaces, which open them and hand them up: an environment's write has no way into the
/// buffer and must not leak into the next sample's.
TEST(CustomBufferOfAnEnvironment, PassesItsColorOnAndWritesNothing) {
    TestScene scene;
    scene.passes = {"beauty", "custom"};
    scene.contents = surface("mirror", "orcaVelaPhong",
                             "\"color\" 0 0 0 1, \"specularColor\" 0.5 0.5 0.5 1, \"reflectivity\" 0.5") +
                     card("front", "mirror", -1, 0, 0, 1);
    scene.members = {"front"};
    std::string text = scene.text();
    const std::string anchor = "lens \"orcaFrameBufferLens\"";
    text.insert(text.find(anchor),
                "environment \"orcaVelaWriteToColorBuffer\" ( \"bufferIndex\" 0, \"operation\" 3, "
                "\"scale\" 0.5, \"passThrough\" 0.25 0.5 0.75 1, \"value\" 1 0 0 )\n");
    const RenderedScene picture(text);
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    EXPECT_NEAR(picture.pixel("main", 12, 8).g, 0.5f, floatNoise);
    EXPECT_EQ(picture.pixel("custom", 12, 8).r, 0.0f);
    EXPECT_NEAR(picture.pixel("main", 4, 8).g, 0.25f * 0.5f, floatNoise);
    EXPECT_EQ(picture.pixel("custom", 4, 8).r, 0.0f);
}

} // namespace
} // namespace orca::test
