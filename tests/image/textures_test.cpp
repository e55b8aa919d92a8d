// SPDX-License-Identifier: Apache-2.0
#include "pictures.h"

#include "image/textures.h"

#include <OpenImageIO/imageio.h>

#include <limits>
#include <thread>

namespace orca::image::test {

namespace {

struct TextureLookups : ::testing::Test {
    /// Top row first: red, green / blue, white. With four channels, as the library's file formats store
    /// them: multiplied by alpha (TIFF) or not (PNG).
    void writeQuadrants(const std::string& name, int channels = 3, unsigned char alpha = 51) {
        const unsigned char colors[4][4] = {
            {255, 0, 0, alpha}, {0, 255, 0, alpha}, {0, 0, 255, alpha}, {255, 255, 255, alpha}};
        const bool multiplies = channels == 4 && name.ends_with(".tif");
        std::vector<unsigned char> bytes;
        for (const auto& color : colors)
            for (int c = 0; c < channels; ++c)
                bytes.push_back(multiplies ? std::min(color[c], alpha) : color[c]);
        const auto output = OIIO::ImageOutput::create(name);
        OIIO::ImageSpec spec(2, 2, channels, OIIO::TypeDesc::UINT8);
        if (!multiplies) spec.attribute("oiio:UnassociatedAlpha", 1);
        ASSERT_TRUE(output && output->open(directory.file(name), spec));
        ASSERT_TRUE(output->write_image(OIIO::TypeDesc::UINT8, bytes.data()));
        output->close();
    }
    miColor look(const scene::TextureElement& texture, float s, float t, const TextureLookup& how = {}) {
        miColor color{-1, -1, -1, -1};
        EXPECT_TRUE(textures.lookup(texture, s, t, how, color)) << log.text();
        return color;
    }
    static void expectColor(const miColor& color, float r, float g, float b) {
        constexpr float aByte = 1.0f / 255.0f; // what an 8-bit image's pyramid holds
        EXPECT_NEAR(color.r, r, aByte);
        EXPECT_NEAR(color.g, g, aByte);
        EXPECT_NEAR(color.b, b, aByte);
    }

    TemporaryDirectory directory;
    QuietMessages log;
    Textures textures{log, {}, 64};
};

TEST_F(TextureLookups, StartAtTheLowerLeftAndRepeat) {
    writeQuadrants("q.tif");
    scene::TextureElement texture;
    texture.tag = 1;
    texture.file = "q.tif";
    texture.sceneDirectory = directory.path();
    expectColor(look(texture, 0.25f, 0.25f), 0, 0, 1);
    expectColor(look(texture, 0.75f, 0.25f), 1, 1, 1);
    expectColor(look(texture, 0.25f, 0.75f), 1, 0, 0);
    expectColor(look(texture, 0.0f, 0.0f), 0, 0, 1); // a texel owns its lower and left edge
    expectColor(look(texture, 0.5f, 0.5f), 0, 1, 0);
    expectColor(look(texture, 7.25f, -2.25f), 1, 0, 0);
    expectColor(look(texture, std::numeric_limits<float>::quiet_NaN(), 1e30f), 0, 0, 1);
    EXPECT_EQ(look(texture, 0.5f, 0.5f).a, 1.0f); // the file has none
}

TEST_F(TextureLookups, AreNotMultipliedByAlpha) {
    struct {
        const char* file;
        unsigned char alpha;
    } const cases[] = {{"multiplied.tif", 51}, {"apart.png", 51}, {"clear.png", 0}};
    TextureLookup smooth;
    smooth.filtered = true;
    scene::TextureElement texture;
    for (const auto& c : cases)
        for (const auto profile : {scene::ColorProfile::Linear, scene::ColorProfile::Srgb}) {
            SCOPED_TRACE(c.file);
            writeQuadrants(c.file, 4, c.alpha);
            ++texture.tag;
            texture.file = directory.file(c.file);
            texture.colorProfile = profile;
            expectColor(look(texture, 0.25f, 0.75f), 1, 0, 0);
            expectColor(look(texture, 0.5f, 0.25f, smooth), 0.5f, 0.5f, 1);
            EXPECT_NEAR(look(texture, 0.25f, 0.75f).a, static_cast<float>(c.alpha) / 255.0f, 1e-3f);
        }
}

TEST_F(TextureLookups, ReadPixelsOfTheSceneAndScalars) {
    scene::TextureElement texture;
    texture.tag = 3;
    texture.width = 2;
    texture.height = 2;
    texture.components = 4;
    texture.pixels = {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 51};
    expectColor(look(texture, 0.1f, 0.1f), 1, 0, 0); // rows bottom up
    expectColor(look(texture, 0.9f, 0.9f), 1, 1, 1);
    miScalar scalar = 0;
    ASSERT_TRUE(textures.lookupScalar(texture, 0.9f, 0.9f, {}, scalar));
    EXPECT_NEAR(scalar, 0.2f, 1e-3f); // alpha
    texture.tag = 4;
    TextureLookup smooth;
    smooth.filtered = true;
    expectColor(look(texture, 0.5f, 0.25f, smooth), 0.5f, 0.5f, 0);
    expectColor(look(texture, 0.0f, 0.25f, smooth), 0.5f, 0.5f, 0); // across the edge
    smooth.wrapS = TextureLookup::Wrap::Clamp;
    expectColor(look(texture, 0.0f, 0.25f, smooth), 1, 0, 0);
    expectColor(look(texture, -0.4f, 0.25f, smooth), 1, 0, 0);
    smooth.wrapS = TextureLookup::Wrap::Mirror;
    expectColor(look(texture, -0.25f, 0.25f, smooth), 1, 0, 0);
    expectColor(look(texture, -0.75f, 0.25f, smooth), 0, 1, 0);

    scene::TextureElement heights;
    heights.tag = 5;
    heights.width = heights.height = 1;
    heights.components = 1;
    heights.bytesPerComponent = 4;
    heights.pixels = {0x40, 0x20, 0x00, 0x00}; // 2.5, big-endian
    ASSERT_TRUE(textures.lookupScalar(heights, 0.5f, 0.5f, {}, scalar));
    EXPECT_EQ(scalar, 2.5f);
    heights.tag = 6;
    heights.height = 2; // fewer bytes than that needs
    EXPECT_FALSE(textures.lookupScalar(heights, 0.5f, 0.5f, {}, scalar));
}

TEST_F(TextureLookups, KeepTheAlphaOfGreyImagesOutOfTheirProfile) {
    const unsigned char greyAndAlpha[] = {128, 64};
    const auto output = OIIO::ImageOutput::create("g.png");
    ASSERT_TRUE(output->open(directory.file("g.png"), OIIO::ImageSpec(1, 1, 2, OIIO::TypeDesc::UINT8)));
    ASSERT_TRUE(output->write_image(OIIO::TypeDesc::UINT8, greyAndAlpha));
    output->close();
    scene::TextureElement texture;
    texture.tag = 8;
    texture.file = directory.file("g.png");
    texture.colorProfile = scene::ColorProfile::Srgb;
    EXPECT_NEAR(look(texture, 0.5f, 0.5f).a, 64.0f / 255.0f, 1e-3f);
}

TEST_F(TextureLookups, OfAMissingFileFailWithOneMessageFromAllThreads) {
    scene::TextureElement texture;
    texture.tag = 7;
    texture.name = "wood";
    texture.file = "wood.tif";
    texture.sceneDirectory = directory.path();
    texture.location = {"shot.mi", 3, 1};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 100; ++n) {
                miColor color{9, 9, 9, 9};
                EXPECT_FALSE(textures.lookup(texture, 0.5f, 0.5f, {}, color));
                EXPECT_EQ(color.r, 9.0f);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(log.count(LogLevel::Error), 1);
    EXPECT_NE(log.text().find("shot.mi:3:1"), std::string::npos);
    EXPECT_NE(log.text().find("\"wood\""), std::string::npos);

    writeQuadrants("wood.tif");
    ++texture.revision; // touched: read anew
    expectColor(look(texture, 0.25f, 0.75f), 1, 0, 0);
}

} // namespace

} // namespace orca::image::test
