// SPDX-License-Identifier: Apache-2.0
#include "command.h"
#include "pictures.h"

#include "image/make_texture.h"
#include "image/textures.h"

#include <OpenImageIO/imageio.h>

#include <cmath>
#include <limits>
#include <thread>
#include <utility>

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

TEST_F(TextureLookups, TakeTilesAndFramesByTheirNames) {
    writeQuadrants("t.1001.png", 4, 51);
    writeQuadrants("t.1012.png", 4, 102);
    writeQuadrants("f.1001.004.png", 4, 153);
    scene::TextureElement tiles;
    tiles.tag = 1;
    tiles.name = "tiles";
    tiles.file = "t.<UDIM>.png";
    tiles.sceneDirectory = directory.path();
    EXPECT_FLOAT_EQ(look(tiles, 0.25f, 0.25f).a, 0.2f);
    EXPECT_FLOAT_EQ(look(tiles, 1.25f, 1.75f).a, 0.4f);
    expectColor(look(tiles, 1.25f, 1.75f), 1, 0, 0);
    TextureLookup filtered;
    filtered.filtered = true;
    filtered.footprint.dsdx = filtered.footprint.dtdy = 0.001f;
    expectColor(look(tiles, 1.001f, 1.999f, filtered), 1, 0, 0); // no colour from across the edge
    const std::pair<float, float> outside[] = {
        {1.5f, 0.5f}, {-0.5f, 0.5f}, {10.5f, 0.5f}, {0.5f, 1e20f}, {NAN, 0.5f}};
    for (const auto& [s, t] : outside) {
        miColor color;
        EXPECT_FALSE(textures.lookup(tiles, s, t, {}, color)) << s << ' ' << t;
    }
    EXPECT_NE(log.text().find("has no tile of \"t.<UDIM>.png\" for the coordinates from (1, 0) on"),
              std::string::npos)
        << log.text();
    EXPECT_EQ(textures.files(tiles).size(), 2u);

    scene::TextureElement frames = tiles;
    frames.tag = 2;
    frames.file = "f.<UDIM>.###.png";
    textures.setFrame(4);
    EXPECT_FLOAT_EQ(look(frames, 0.5f, 0.5f).a, 0.6f);
    textures.setFrame(5);
    EXPECT_TRUE(textures.files(frames).empty());
    writeQuadrants("f.1001.###.png", 4, 204);
    frames.file = "f.1001.###.png";
    frames.tag = 3;
    EXPECT_FLOAT_EQ(look(frames, 0.5f, 0.5f).a, 0.8f); // a file of that very name
}

TEST_F(TextureLookups, AreTheSameInTextureFiles) {
    writeQuadrants("q.png", 4, 51);
    scene::TextureElement own, made;
    own.tag = 1;
    made.tag = 2;
    own.file = "q.png";
    own.sceneDirectory = made.sceneDirectory = directory.path();
    own.colorProfile = scene::ColorProfile::Srgb;
    for (const bool converts : {false, true}) {
        TextureFileSettings settings;
        if (converts) settings.profile = scene::ColorProfile::Srgb;
        made.file = converts ? "linear.tx" : "same.tx";
        made.colorProfile = converts ? scene::ColorProfile::Linear : scene::ColorProfile::Srgb;
        made.tag += 1;
        makeTextureFile(directory.file("q.png"), directory.file(made.file), settings);
        for (const float s : {0.25f, 0.75f}) {
            const miColor a = look(own, s, 0.25f), b = look(made, s, 0.25f);
            expectColor(b, a.r, a.g, a.b);
            EXPECT_NEAR(b.a, a.a, 0.001f);
        }
        const auto input = OIIO::ImageInput::open(directory.file(made.file));
        ASSERT_TRUE(input);
        EXPECT_EQ(input->spec().tile_width, 64);
        EXPECT_TRUE(input->seek_subimage(0, 1));
        EXPECT_EQ(input->spec().width, 1);
    }
}

TEST_F(Command, MakesTextureFilesOfImages) {
    directory.write("a.ppm", "P3 2 1 255 255 0 0 0 0 255\n");
    const std::string tool = "orca-texture";
    EXPECT_EQ(runTool(tool, "a.ppm --colorprofile sRGB -d sub --numbers float", "mkdir sub &&"), 0) << output;
    EXPECT_TRUE(exists("sub/a.tx"));
    EXPECT_EQ(runTool(tool, "a.ppm gone.ppm"), 4);
    EXPECT_TRUE(says("\"gone.ppm\": ") && exists("a.tx")) << output;
    EXPECT_EQ(runTool(tool, "a.tx"), 4);
    EXPECT_TRUE(says("would replace it")) << output;
    for (const char* wrong : {"a.ppm --tile 20", "a.ppm --colorprofile blue", "a.ppm a.tx -o b.tx"})
        EXPECT_EQ(runTool(tool, wrong), 2) << wrong;
}

} // namespace

} // namespace orca::image::test
