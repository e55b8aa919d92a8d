// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

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

/// Two writes of 0.5 and 0.25 in one network, the first into a black buffer: seen directly, through a pane
/// and in a mirror.
TEST(CustomBuffers, TakeWhatANetworkWritesAtAnyLevel) {
    for (const auto& [operation, expected] :
         {std::pair(0, 0.5f), std::pair(1, 0.75f), std::pair(2, 0.125f), std::pair(3, 0.25f)}) {
        TestScene scene;
        scene.passes = {"beauty", "custom"};
        scene.contents =
            writeToBuffer("first", 3, "1.0", "0.25 0.5 0.75 1") +
            writeToBuffer("second", operation, "0.5", "= \"first\"") +
            lambert("m", "\"color\" 0 0 0 1, \"incandescence\" = \"second\"") +
            lambert("pane", "\"color\" 0 0 0 1, \"transparency\" 0.5 0.5 0.5 1, \"refractionsOn\" on") +
            mirror("mirror", 0.25f) + card("wall", "m", 0, 0, 0, 8) + card("window", "pane", 1, 1, 1, 1) +
            card("glass", "mirror", 1, -1, 1, 1) + card("behind", "m", 0, 0, 12, 20, "visible off");
        const RenderedScene picture(scene);
        EXPECT_NEAR(picture.pixel("main", 2, 8).g, 0.5f, floatNoise); // passed through both
        EXPECT_NEAR(picture.pixel("custom", 2, 8).r, expected, floatNoise);
        EXPECT_NEAR(picture.pixel("custom", 12, 12).r, 0.5f * expected, floatNoise);
        EXPECT_NEAR(picture.pixel("custom", 12, 4).r, 0.25f * expected, floatNoise);
    }
}

} // namespace
} // namespace orca::test
