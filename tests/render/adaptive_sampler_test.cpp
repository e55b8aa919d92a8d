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
    scene.contents = lambert("grey", "\"color\" 0.5 0.5 0.5 1, \"diffuse\" 1") +
                     lambert("bright", "\"color\" 0 0 0 1, \"incandescence\" 2 1 0.5 1") +
                     card("floor", "grey", 0, 0, 0, 8) + card("spot", "bright", 0.7f, -0.4f, 0.5f, 0.2f) +
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
            ASSERT_NEAR(sparse.pixel("normal", x, y).b, 1.0f, 1e-5f);
        }
}

TEST(AdaptiveSampler, SpendsSamplesOnEdgesOnly) {
    const RenderedScene adaptive(fadingFloor("0 2"));
    const RenderedScene uniform(fadingFloor("2 2"));
    EXPECT_EQ(uniform.result().statistics.rays.samples, 61u * 43u * 16u);
    EXPECT_LT(adaptive.result().statistics.rays.samples, uniform.result().statistics.rays.samples / 4);
    EXPECT_GT(adaptive.result().statistics.rays.samples, 61u * 43u);
    for (int y = 0; y < 43; ++y)
        for (int x = 0; x < 61; ++x)
            // One of 16 samples may differ: the first of an adaptive pixel stands at its centre.
            ASSERT_NEAR(adaptive.pixel("main", x, y).r, uniform.pixel("main", x, y).r, 2.0f / 16.0f)
                << x << ", " << y;
}

TEST(Windows, RenderTheirPixelsAloneAndTheSameAsTheWholePicture) {
    const RenderedScene whole(fadingFloor("1 1"));
    TestScene cut = fadingFloor("1 1");
    cut.cameraStatements = "window 10 5 29 14\n";
    const RenderedScene part(cut);
    EXPECT_EQ(part.width(), 20);
    EXPECT_EQ(part.height(), 10);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x)
            EXPECT_EQ(part.pixel("main", x, y).r, whole.pixel("main", x + 10, y + 5).r) << x << ", " << y;
}

TEST(Windows, LargerThanMemoryAreRefusedBeforeRendering) {
    RenderedScene::Settings settings;
    settings.resolution = {1 << 16, 1 << 16};
    try {
        const RenderedScene vast(fadingFloor("0 0"), settings);
        FAIL() << "2^32 pixels were rendered";
    } catch (const std::runtime_error& refused) {
        EXPECT_NE(std::string(refused.what()).find("65536 x 65536 pixels of 3 frame buffers need 360"),
                  std::string::npos)
            << refused.what();
    }
}

} // namespace
} // namespace orca::test
