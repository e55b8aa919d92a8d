// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <gtest/gtest.h>

#include <cmath>
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

/// Glows below a slanted edge, in a picture 24 pixels wide of which the edge crosses every column.
TestScene slantedEdge(const std::string& samples, float contrast, const char* light) {
    TestScene scene;
    scene.width = scene.height = 24;
    scene.viewWidth = 24;
    scene.samples = samples;
    scene.extraOptions = fmt::format("contrast {0} {0} {0} {0}", contrast);
    scene.contents = glowing("m", light) +
                     "object \"half_mesh\" visible group\n-20 -20 0 20 -20 0 20 7.5 0 -20 -7.5 0\n"
                     "v 0 v 1 v 2 v 3\np \"m\" 0 1 2 3\nend group end object\n"
                     "instance \"half\" \"half_mesh\" end instance\n";
    return scene;
}

/// Share of a pixel of that picture below the edge.
float belowEdge(int x, int y) {
    const float slope = 0.375f, left = slope * static_cast<float>(x - 12) - static_cast<float>(y - 12);
    const auto integral = [](float t) { return t < 0.0f ? 0.0f : t < 1.0f ? t * t / 2 : t - 0.5f; };
    return (integral(left + slope) - integral(left)) / slope;
}

TEST(AdaptiveSampler, StopsAtAnErrorInProportionToContrastInAnyChannel) {
    std::uint64_t before = 24 * 24;
    for (const float contrast : {0.4f, 0.2f, 0.1f, 0.05f}) {
        SCOPED_TRACE(contrast);
        const RenderedScene dark(slantedEdge("0 4", contrast, "0 0 0")); // alpha alone tells it from nothing
        double squares = 0;
        int edgePixels = 0;
        dark.eachPixel([&](int x, int y) {
            const float covered = belowEdge(x, y), error = dark.pixel("main", x, y).a - covered;
            squares += error * error;
            edgePixels += covered > 0 && covered < 1;
        });
        EXPECT_LT(std::sqrt(squares / edgePixels), 0.16 * contrast);
        EXPECT_GT(std::sqrt(squares / edgePixels), 0.05 * contrast); // more samples than asked for
        const std::uint64_t samples = dark.result().statistics.rays.samples;
        EXPECT_GT(samples, before);
        before = samples;
        const RenderedScene bright(slantedEdge("0 4", contrast, "1 0 0"));
        EXPECT_EQ(bright.result().statistics.rays.samples, samples);
    }
    EXPECT_LT(before, 24u * 24u * 24u);
}

/// Pixels of which only one in fifty samples finds any light, as much as all of them: 0.5 in the mean.
TestScene sparks() {
    TestScene scene;
    scene.width = scene.height = 48;
    scene.viewWidth = 48;
    scene.contents = glowing("m", "25 25 25") + "object \"sparks_mesh\" visible group\n";
    std::string faces;
    for (int i = 0; i < 48 * 48; ++i) {
        const float x = static_cast<float>(i % 48) - 23.75f, y = static_cast<float>(i / 48) - 23.6f;
        const float size = std::sqrt(0.02f);
        scene.contents += fmt::format("{0} {1} 0 {2} {1} 0 {2} {3} 0 {0} {3} 0\n", x, y, x + size, y + size);
        faces += fmt::format("p \"m\" {} {} {} {}\n", 4 * i, 4 * i + 1, 4 * i + 2, 4 * i + 3);
    }
    for (int i = 0; i < 4 * 48 * 48; ++i) scene.contents += fmt::format("v {}\n", i);
    scene.contents += faces + "end group end object\ninstance \"sparks\" \"sparks_mesh\" end instance\n";
    return scene;
}

TEST(AdaptiveSampler, FindsLightThatFewSamplesSee) {
    TestScene scene = sparks();
    for (const char* samples : {"0 3", "1 3", "1 4"}) {
        SCOPED_TRACE(samples);
        scene.samples = samples;
        const RenderedScene picture(scene);
        double sum = 0;
        picture.eachPixel([&](int x, int y) { sum += picture.pixel("main", x, y).r; });
        EXPECT_NEAR(sum / (48 * 48), 0.5, 0.02);
    }
}

TEST(SamplingLayers, SayByHowMuchPixelsAreOffAndWhatTheyTook) {
    TestScene scene = sparks();
    scene.cameraStatements = "framebuffer \"variance\" datatype \"variance\" filtering on\n"
                             "framebuffer \"samples\" datatype \"samples\"\n";
    for (const char* samples : {"2 2", "1 3"}) {
        SCOPED_TRACE(samples);
        scene.samples = samples;
        const RenderedScene picture(scene);
        double variance = 0, squares = 0, taken = 0;
        picture.eachPixel([&](int x, int y) {
            const double error = picture.pixel("main", x, y).g - 0.5;
            squares += error * error;
            variance += picture.pixel("variance", x, y).g;
            taken += picture.pixel("samples", x, y).r;
        });
        EXPECT_EQ(taken, static_cast<double>(picture.result().statistics.rays.samples));
        // Samples of one pixel complement each other, which the means of its parts know only in part.
        if (samples[0] == '2') {
            EXPECT_NEAR(variance / squares, 1.15, 0.1);
        }
    }
}

TEST(AdaptiveSampler, LeavesEachPixelAsAFixedLevelMakesIt) {
    TestScene scene = fadingFloor("0 2");
    scene.extraOptions = "contrast 0 0 0 0"; // so no pixel stops between two levels
    const RenderedScene adaptive(scene),
        fixed[] = {RenderedScene(fadingFloor("0 0")), RenderedScene(fadingFloor("1 1")),
                   RenderedScene(fadingFloor("2 2"))};
    int found[3] = {};
    adaptive.eachPixel([&](int x, int y) {
        const auto isThatOf = [&](const RenderedScene& picture) {
            for (const char* buffer : {"main", "beauty", "normal", "depth"})
                if (adaptive.pixel(buffer, x, y).r != picture.pixel(buffer, x, y).r) return false;
            return true;
        };
        int level = 2;
        while (level >= 0 && !isThatOf(fixed[level])) --level;
        ASSERT_GE(level, 0);
        ++found[level];
    });
    EXPECT_GT(found[2], 61 * 43 / 2);
}

/// Compares the pixels of a window, by their places in the display, in two pictures of the given corners.
void expectSamePixels(const render::PixelWindow& window, const RenderedScene& a,
                      std::pair<int, int> cornerOfA, const RenderedScene& b, std::pair<int, int> cornerOfB) {
    for (int y = window.yl; y <= window.yh; ++y)
        for (int x = window.xl; x <= window.xh; ++x)
            for (const char* buffer : {"main", "beauty", "normal"}) {
                const miColor one = a.pixel(buffer, x - cornerOfA.first, y - cornerOfA.second);
                const miColor other = b.pixel(buffer, x - cornerOfB.first, y - cornerOfB.second);
                ASSERT_TRUE(one.r == other.r && one.g == other.g && one.b == other.b && one.a == other.a)
                    << buffer << " " << x << ", " << y << " of the window at " << window.xl << ", "
                    << window.yl;
            }
}

/// A window takes samples around it where decisions at its border depend on them.
TEST(Windows, HoldTheSamePixelsAsTheWholePicture) {
    for (const char* samples : {"1 1", "0 1", "0 3", "1 4", "-1 0", "-2 1", "-3 2"}) {
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
                expectSamePixels(*settings.window, part, {xl, yl}, whole, {0, 0});
            }
    }
}

TEST(Overscan, LeavesTheDisplayAsItIsAndFitsToIt) {
    for (const char* samples : {"1 1", "0 3", "1 4", "-2 1", "-3 0"}) {
        SCOPED_TRACE(samples);
        TestScene scene = fadingFloor(samples);
        const RenderedScene display(scene.text());
        scene.extraOptions += " overscan 23 5";
        const RenderedScene whole(scene.text());
        ASSERT_EQ(whole.width(), 61 + 2 * 23);
        ASSERT_EQ(whole.height(), 43 + 2 * 5);
        expectSamePixels({0, 0, 60, 42}, whole, {-23, -5}, display, {0, 0});
        for (const render::PixelWindow& window : {render::PixelWindow{-23, -5, 3, 2}, {40, -1, 75, 47}}) {
            RenderedScene::Settings settings;
            settings.window = window;
            const RenderedScene part(scene.text(), settings);
            expectSamePixels(window, part, {window.xl, window.yl}, whole, {-23, -5});
        }
    }
    TestScene scene = fadingFloor("0 0"), larger = scene;
    scene.extraOptions += " overscan 23 5";
    larger.width = 61 + 2 * 23;
    larger.height = 43 + 2 * 5;
    larger.viewWidth *= static_cast<float>(larger.width) / static_cast<float>(scene.width);
    const RenderedScene grown(scene), seen(larger);
    grown.eachPixel([&](int x, int y) {
        EXPECT_NEAR(grown.pixel("main", x, y).r, seen.pixel("main", x, y).r, 1e-4f) << x << ", " << y;
    });
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
        EXPECT_NE(std::string(refused.what()).find("65536 x 65536 pixels of 4 frame buffers need 343"),
                  std::string::npos)
            << refused.what();
    }
}

} // namespace
} // namespace orca::test
