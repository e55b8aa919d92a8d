// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace orca::test {
namespace {

/// A floor that a light from the side fades over, with a small bright card on it.
TestScene fadingFloor(const std::string& samples) {
    TestScene scene;
    scene.width = 61; // no multiple of any block
    scene.height = 43;
    scene.samples = samples;
    scene.extraOptions = "contrast 0.05 0.05 0.05 0.05";
    scene.passes = {"beauty", "normal"};
    scene.cameraStatements = "framebuffer \"depth\" datatype \"z\"\n";
    scene.contents = lambert("grey", "\"color\" 0.5 0.5 0.5 1, \"diffuse\" 1") +
                     lambert("bright", "\"color\" 0 0 0 1, \"incandescence\" 2 1 0.5 1") +
                     turnedCard("floor", "grey", 0, 0, 0, 8, 20) +
                     card("spot", "bright", 0.7f, -0.4f, 0.5f, 0.2f) +
                     pointLight("lamp", "\"useRayTraceShadows\" off", 3, 0, 4);
    return scene;
}

TEST(Undersampling, FillsWhatIsEvenAndRefinesWhatIsNot) {
    const RenderedScene full(fadingFloor("0 0"));
    const RenderedScene sparse(fadingFloor("-3 0"));
    EXPECT_LT(sparse.result().statistics.rays.samples, full.result().statistics.rays.samples / 3);
    for (int y = 0; y < 43; ++y)
        for (int x = 0; x < 61; ++x) {
            // The contrast that was asked for is what interpolation may miss by.
            ASSERT_NEAR(sparse.pixel("main", x, y).r, full.pixel("main", x, y).r, 0.05f) << x << ", " << y;
            ASSERT_NEAR(sparse.pixel("beauty", x, y).r, sparse.pixel("main", x, y).r, 1e-5f);
            // Taken from the nearest sample, at most 4 pixels up or down the slope.
            ASSERT_NEAR(sparse.pixel("depth", x, y).r, full.pixel("depth", x, y).r, 0.1f) << x << ", " << y;
        }
}

TEST(AdaptiveSampler, TakesAlphaForContrastAndItsOwnSamplesForEvidence) {
    const auto samples = [](const char* light, float x) {
        TestScene scene;
        scene.samples = "0 3";
        scene.extraOptions = "contrast 0.1 0.1 0.1 0.1";
        scene.contents = glowing("m", light) + card("card", "m", x, 0, 0, 2);
        return RenderedScene(scene).result().statistics.rays.samples;
    };
    // An edge between pixels: 16 samples of each see nothing of it, and that is believed.
    EXPECT_EQ(samples("1 1 1", -2), 256u + 2 * 16 * 15);
    // An edge through a column of pixels, which alpha alone tells from nothing; the column beyond it sees
    // only then that its neighbour differs.
    EXPECT_EQ(samples("0 0 0", -1.9f), 256u + 16 * (15 + 63 + 12));
}

/// A window takes samples around it where decisions at its border depend on them.
TEST(Windows, HoldTheSamePixelsAsTheWholePicture) {
    for (const char* samples : {"1 1", "0 1", "0 2", "1 3", "-1 0", "-2 1", "-3 2"}) {
        SCOPED_TRACE(samples);
        const RenderedScene whole(fadingFloor(samples).text());
        // Some between blocks that are refined, at the edges of the card, and others that are not.
        const int left[] = {0, 10, 44, 61}, bottom[] = {0, 18, 24, 43};
        for (int column = 0; column < 3; ++column)
            for (int line = 0; line < 3; ++line) {
                RenderedScene::Settings settings;
                settings.window = render::PixelWindow{left[column], bottom[line], left[column + 1] - 1,
                                                      bottom[line + 1] - 1};
                const auto [xl, yl, xh, yh] = *settings.window;
                const RenderedScene part(fadingFloor(samples).text(), settings);
                ASSERT_EQ(part.width(), xh - xl + 1);
                ASSERT_EQ(part.height(), yh - yl + 1);
                for (int y = yl; y <= yh; ++y)
                    for (int x = xl; x <= xh; ++x)
                        for (const char* buffer : {"main", "beauty", "normal"}) {
                            const miColor a = part.pixel(buffer, x - xl, y - yl);
                            const miColor b = whole.pixel(buffer, x, y);
                            ASSERT_TRUE(a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a)
                                << buffer << " " << x << ", " << y << " of the window at " << xl << ", "
                                << yl;
                        }
            }
    }
}

TEST(Cameras, ShiftTheirPictureByTheOffsetAndClipAlongTheirAxis) {
    TestScene scene = fadingFloor("0 0");
    const RenderedScene whole(scene);
    scene.cameraStatements = "offset 10 5\n";
    const RenderedScene shifted(scene);
    for (int y = 5; y < 43; ++y)
        for (int x = 10; x < 61; ++x)
            ASSERT_NEAR(shifted.pixel("main", x, y).r, whole.pixel("main", x - 10, y - 5).r, 1e-5f);
    TestScene clipped;
    clipped.perspective = true;
    clipped.cameraStatements = "clip 0.001 10.1\n"; // a corner is 10.4 away
    clipped.contents = glowing("m", "1 1 1") + card("wall", "m", 0, 0, 0, 9);
    const RenderedScene seen(clipped);
    seen.eachPixel([&](int x, int y) { EXPECT_EQ(seen.pixel("main", x, y).r, 1.0f); });
}

TEST(Windows, LargerThanMemoryAreRefusedBeforeRendering) {
    RenderedScene::Settings settings;
    settings.resolution = {1 << 16, 1 << 16};
    try {
        const RenderedScene vast(fadingFloor("0 0"), settings);
        FAIL() << "2^32 pixels were rendered";
    } catch (const std::runtime_error& refused) {
        EXPECT_NE(std::string(refused.what()).find("65536 x 65536 pixels of 4 frame buffers need 395"),
                  std::string::npos)
            << refused.what();
    }
}

} // namespace
} // namespace orca::test
