// SPDX-License-Identifier: Apache-2.0
#include "pictures.h"

#include "image/file_in_place.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfIntAttribute.h>
#include <OpenEXR/ImfMultiPartInputFile.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <OpenEXR/ImfTiledInputPart.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <numeric>

namespace orca::image::test {

namespace {

std::vector<std::string> channelsOf(const Imf::Header& header) {
    std::vector<std::string> names;
    for (auto channel = header.channels().begin(); channel != header.channels().end(); ++channel)
        names.emplace_back(channel.name());
    return names;
}

/// One channel read back, as floats, rows top down over the data window.
std::vector<float> readChannel(Imf::MultiPartInputFile& file, int part, const char* name) {
    Imf::InputPart input(file, part);
    const Imath::Box2i window = input.header().dataWindow();
    const auto width = static_cast<std::size_t>(window.max.x - window.min.x + 1);
    std::vector<float> values(width * static_cast<std::size_t>(window.max.y - window.min.y + 1));
    Imf::FrameBuffer slices;
    slices.insert(name,
                  Imf::Slice::Make(Imf::FLOAT, values.data(), window, sizeof(float), sizeof(float) * width));
    input.setFrameBuffer(slices);
    input.readPixels(window.min.y, window.max.y);
    return values;
}

void addPasses(scene::CameraElement& camera) {
    camera.framebuffers = {definition("depth", "z"),
                           definition("main", "rgba_fp"),
                           definition("diffuse", "rgba_fp"),
                           definition("n", "n"),
                           definition("shadowLuminance", "s_fp"),
                           definition("label", "tag"),
                           definition("place", "rgba_fp")};
    camera.framebuffers[1].primary = true;
    camera.framebuffers[6].filtering = false;
}

struct CameraWithPasses {
    CameraWithPasses() { addPasses(camera); }
    scene::CameraElement camera;
};

TEST(LayeredExr, HoldsEveryLayerAtThePlaceOfTheWindowInOneOrManyParts) {
    const TemporaryDirectory directory;
    QuietMessages log;
    PictureFrame frame = wholeFrame(20, 10);
    frame.window = {3, 2, 7, 4};
    frame.metadata = {{"scene", "still.mi"}, {"frame", 7}};
    frame.layerMetadata["diffuse"] = {{"passType", "5"}};
    const Picture picture(CameraWithPasses().camera, frame, log);
    const std::string path = directory.file("a.exr");
    for (const bool parts : {true, false}) {
        ASSERT_TRUE(writeLayeredExr(path, frame, picture.layers,
                                    {parts ? PartLayout::MultiPart : PartLayout::SinglePart, {}, {}}, log))
            << log.text();
        EXPECT_EQ(directory.fileCount(), 1u); // nothing temporary is left
        Imf::MultiPartInputFile file(path.c_str());
        ASSERT_EQ(file.parts(), parts ? 7 : 1);
        EXPECT_EQ(file.header(0).displayWindow(), Imath::Box2i({0, 0}, {19, 9}));
        EXPECT_EQ(file.header(0).dataWindow(), Imath::Box2i({3, 5}, {7, 7}));
        EXPECT_EQ(file.header(0).typedAttribute<Imf::StringAttribute>("scene").value(), "still.mi");
        EXPECT_EQ(file.header(0).typedAttribute<Imf::IntAttribute>("frame").value(), 7);
        const auto part = [&](int number) { return parts ? number : 0; };
        const std::vector<float> depth = readChannel(file, part(1), "depth.Z");
        const Buffer& buffer = *picture.set.find("depth");
        EXPECT_FLOAT_EQ(depth.front(), picture.value(buffer, 3, 4, 0)); // the file begins at the top
        EXPECT_FLOAT_EQ(depth.back(), picture.value(buffer, 7, 2, 0));
        const std::vector<float> green = readChannel(file, part(2), "diffuse.G");
        EXPECT_NEAR(green[1], picture.value(*picture.set.find("diffuse"), 4, 4, 1), 0.25f);
        EXPECT_EQ(readChannel(file, part(5), "label.Y")[3], 4006.0f);
        EXPECT_EQ(file.header(part(0)).channels()["R"].type, Imf::HALF);
        EXPECT_EQ(file.header(part(1)).channels()["depth.Z"].type, Imf::FLOAT);
        EXPECT_EQ(file.header(part(5)).channels()["label.Y"].type, Imf::UINT);
        EXPECT_EQ(file.header(part(6)).channels()["place.R"].type,
                  Imf::FLOAT); // an unfiltered colour holds data
        EXPECT_TRUE(file.header(part(3)).channels().findChannel("n.X"));
        EXPECT_TRUE(file.header(part(4)).channels().findChannel("shadowLuminance.Y"));
        if (!parts) continue;
        EXPECT_EQ(file.header(0).name(), "beauty");
        EXPECT_EQ(channelsOf(file.header(2)),
                  (std::vector<std::string>{"diffuse.A", "diffuse.B", "diffuse.G", "diffuse.R"}));
        EXPECT_EQ(file.header(2).typedAttribute<Imf::StringAttribute>("passType").value(), "5");
    }
}

TEST(LayeredExr, HoldsSmallerLevelsInTilesAndRoundsNothingButColours) {
    const TemporaryDirectory directory;
    QuietMessages log;
    const PictureFrame frame = wholeFrame(33, 18);
    const Picture picture(CameraWithPasses().camera, frame, log);
    LayeredFormat format;
    format.compression = {"dwaa", 45.0f};
    format.half = {{"", false}, {"diffuse", true}, {"depth", true}};
    format.tileSize = 16;
    format.mipMaps = true;
    const std::string path = directory.file("tiles.exr");
    ASSERT_TRUE(writeLayeredExr(path, frame, picture.layers, format, log)) << log.text();
    EXPECT_TRUE(finishedPicture(path));
    {
        Imf::MultiPartInputFile file(path.c_str());
        const struct {
            Imf::PixelType type;
            Imf::Compression compression;
        } parts[] = {{Imf::FLOAT, Imf::DWAA_COMPRESSION}, {Imf::HALF, Imf::ZIPS_COMPRESSION},
                     {Imf::HALF, Imf::DWAA_COMPRESSION},  {Imf::FLOAT, Imf::ZIPS_COMPRESSION},
                     {Imf::FLOAT, Imf::ZIPS_COMPRESSION}, {Imf::UINT, Imf::ZIPS_COMPRESSION},
                     {Imf::FLOAT, Imf::ZIPS_COMPRESSION}}; // main depth diffuse n shadowLuminance label place
        for (int part = 0; part < 7; ++part) {
            const Imf::Header& header = file.header(part);
            EXPECT_EQ(header.channels().begin().channel().type, parts[part].type) << header.name();
            EXPECT_EQ(header.compression(), parts[part].compression) << header.name();
        }
        Imf::TiledInputPart shadow(file, 4), label(file, 5);
        ASSERT_EQ(shadow.numLevels(), 6); // 33, 16, 8, 4, 2, 1
        const auto levelOf = [](Imf::TiledInputPart& part, int level, const char* name, Imf::PixelType type) {
            const auto width = static_cast<std::size_t>(part.levelWidth(level));
            std::vector<float> words(width * static_cast<std::size_t>(part.levelHeight(level)));
            Imf::FrameBuffer slices;
            slices.insert(name,
                          Imf::Slice::Make(type, words.data(), part.dataWindowForLevel(level), 4, 4 * width));
            part.setFrameBuffer(slices);
            part.readTiles(0, part.numXTiles(level) - 1, 0, part.numYTiles(level) - 1, level);
            return words;
        };
        const std::vector<float> whole = levelOf(shadow, 0, "shadowLuminance.Y", Imf::FLOAT);
        const std::vector<float> half = levelOf(shadow, 1, "shadowLuminance.Y", Imf::FLOAT);
        ASSERT_EQ(half.size(), 16u * 9u);
        const auto mean = [](const std::vector<float>& values) {
            return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
        };
        EXPECT_NEAR(mean(half), mean(whole), 1e-5 * std::abs(mean(whole)));
        // A pixel covers 2 1/16 columns and two rows.
        EXPECT_NEAR(half[0] * 2 * 33 / 16,
                    whole[0] + whole[1] + whole[33] + whole[34] + (whole[2] + whole[35]) / 16,
                    1e-4f * std::abs(whole[0]));
        const std::vector<float> labels = levelOf(label, 0, "label.Y", Imf::UINT);
        for (const float word : levelOf(label, 3, "label.Y", Imf::UINT))
            EXPECT_TRUE(std::any_of(labels.begin(), labels.end(), [word](float each) {
                return std::memcmp(&each, &word, sizeof word) == 0;
            }));
    }
    std::filesystem::resize_file(path, std::filesystem::file_size(path) - 8);
    EXPECT_FALSE(finishedPicture(path));
}

TEST(LayeredExr, GivesThePictureItsOwnNameWhereAPassIsCalledBeauty) {
    scene::CameraElement camera;
    addPasses(camera);
    camera.framebuffers.push_back(definition("beauty", "rgba_fp"));
    QuietMessages log;
    const FramebufferSet set(camera, scene::OptionsElement(), log);
    const std::vector<PartDescription> parts = describeParts(layeredBuffers(set));
    EXPECT_EQ(parts.front().name, "main");
    EXPECT_EQ(parts.front().channels.front(), "R");
    EXPECT_EQ(parts.back().name, "beauty");
    EXPECT_EQ(parts.back().channels.front(), "beauty.R");
}

TEST(LayeredExr, KeepsBrightColoursFinite) {
    const TemporaryDirectory directory;
    QuietMessages log;
    scene::CameraElement camera;
    camera.framebuffers = {definition("main", "rgba_fp")};
    const FramebufferSet set(camera, scene::OptionsElement(), log);
    const float pixel[] = {1e9f, -1e9f, 0.5f, 1.0f};
    const Layer layer{&set.buffers()[1], pixel};
    ASSERT_TRUE(writeLayeredExr(directory.file("h.exr"), wholeFrame(1, 1), {&layer, 1}, {}, log));
    Imf::MultiPartInputFile file(directory.file("h.exr").c_str());
    EXPECT_EQ(readChannel(file, 0, "R")[0], 65504.0f);
    EXPECT_EQ(readChannel(file, 0, "G")[0], -65504.0f);
}

struct BufferFiles : ::testing::Test {
    TemporaryDirectory directory;
    QuietMessages log;
    scene::CameraElement camera;
    PictureFrame frame = wholeFrame(2, 2);
    /// Bottom row red and half red, top row green and blue, each with alpha 1.
    const std::vector<float> pixels{1, 0, 0, 1, 0.5f, 0, 0, 1, 0, 1, 0, 1, 0, 0, 2, 1};

    std::vector<unsigned char> written(const std::string& name, int& channels) {
        const auto input = OIIO::ImageInput::open(directory.file(name));
        if (!input) return {};
        channels = input->spec().nchannels;
        std::vector<unsigned char> bytes(static_cast<std::size_t>(4 * channels));
        input->read_image(0, 0, 0, channels, OIIO::TypeDesc::UINT8, bytes.data());
        return bytes;
    }
    bool write() {
        const FramebufferSet set(camera, scene::OptionsElement(), log);
        const Layer layer{&set.buffers()[1], pixels};
        return writeBufferFiles(directory.path(), frame, {&layer, 1}, {}, log);
    }
};

TEST_F(BufferFiles, PngIsTopDownClampedAndGammaCorrected) {
    frame.encoding.gamma = 2.0f;
    scene::FramebufferDefinition& main = camera.framebuffers.emplace_back(definition("main", "rgba"));
    main.filename = "p.png";
    camera.outputs.push_back({{{"rgb", {}}}, "jpg", "p.jpg", {}, {}});
    ASSERT_TRUE(write()) << log.text();
    int channels = 0;
    const std::vector<unsigned char> png = written("p.png", channels);
    ASSERT_EQ(channels, 4);
    const std::vector<unsigned char> expected{0,   255, 0, 255, 0,   0, 255, 255,
                                              255, 0,   0, 255, 180, 0, 0,   255}; // 0.5 ^ (1/2) = 0.707
    EXPECT_EQ(png, expected);
    EXPECT_FALSE(written("p.jpg", channels).empty());
    EXPECT_EQ(channels, 3);
}

struct EncodingCase {
    const char* what;
    ColorEncoding encoding;
    miColor color, expected;
};

TEST(ColorEncodings, ConvertColoursForFilesOfWholeNumbers) {
    using Clip = scene::ColorClip;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const EncodingCase cases[] = {
        {"raw", {}, {2.0f, 0.5f, -1.0f, 0.25f}, {1.0f, 0.5f, 0.0f, 0.25f}},
        {"not a number", {}, {nan, 0.5f, 0.5f, nan}, {0.0f, 0.5f, 0.5f, 0.0f}},
        {"alpha follows colour", {.clip = Clip::Rgb}, {2.0f, 0.5f, 0, 0.25f}, {1.0f, 0.5f, 0, 1.0f}},
        {"colour follows alpha",
         {.clip = Clip::Alpha},
         {2.0f, 0.5f, 0.1f, 0.25f},
         {0.25f, 0.25f, 0.1f, 0.25f}},
        {"divided by alpha", {.premultiply = false}, {0.1f, 0.25f, 0.5f, 0.25f}, {0.4f, 1.0f, 1.0f, 0.25f}},
        {"no alpha to divide by", {.premultiply = false}, {0.1f, 0.2f, 0.5f, 0}, {0.1f, 0.2f, 0.5f, 0}},
        {"gamma", {.gamma = 2.0f}, {0.25f, 0.81f, 1.0f, 0.25f}, {0.5f, 0.9f, 1.0f, 0.25f}},
        // Luminance 0.8972: red reaches 1 with 0.1028 / 1.1028 of its distance from it.
        {"desaturated", {.desaturate = true}, {2.0f, 0.5f, 0.05f, 1.0f}, {1.0f, 0.8602f, 0.8182f, 1.0f}},
        {"in range", {.desaturate = true}, {1.0f, 0.0f, 0.3f, 1.0f}, {1.0f, 0.0f, 0.3f, 1.0f}}};
    for (const auto& [what, encoding, color, expected] : cases) {
        const miColor result = encoded(color, encoding, true);
        EXPECT_NEAR(result.r, expected.r, 1e-3f) << what;
        EXPECT_NEAR(result.g, expected.g, 1e-3f) << what;
        EXPECT_NEAR(result.b, expected.b, 1e-3f) << what;
        EXPECT_NEAR(result.a, expected.a, 1e-3f) << what;
    }
}

TEST_F(BufferFiles, OfEightBitsAreDitheredToTheirMean) {
    frame = wholeFrame(64, 64);
    const float grey = 100.3f / 255.0f;
    const std::vector<float> even(64 * 64 * 4, grey);
    camera.framebuffers.emplace_back(definition("main", "rgb")).filename = "d.png";
    const FramebufferSet set(camera, scene::OptionsElement(), log);
    const Layer layer{&set.buffers()[1], even};
    for (const bool dither : {false, true}) {
        frame.encoding.dither = dither;
        ASSERT_TRUE(writeBufferFiles(directory.path(), frame, {&layer, 1}, {}, log)) << log.text();
        const auto input = OIIO::ImageInput::open(directory.file("d.png"));
        std::vector<unsigned char> bytes(64 * 64 * 3);
        ASSERT_TRUE(input->read_image(0, 0, 0, 3, OIIO::TypeDesc::UINT8, bytes.data()));
        const double mean =
            std::accumulate(bytes.begin(), bytes.end(), 0.0) / static_cast<double>(bytes.size());
        EXPECT_NEAR(mean, dither ? 100.3 : 100.0, dither ? 0.05 : 0.0);
    }
}

TEST_F(BufferFiles, PreviewsOfDepthStretchWhatWasHit) {
    camera.framebuffers.emplace_back(definition("depth", "z"));
    const FramebufferSet set(camera, scene::OptionsElement(), log);
    const float depths[] = {0, 4, 5}; // nothing, near, far
    ASSERT_TRUE(writePreview(directory.file("d.png"), wholeFrame(3, 1), {&set.buffers()[1], depths}, log));
    unsigned char bytes[3] = {};
    ASSERT_TRUE(OIIO::ImageInput::open(directory.file("d.png"))
                    ->read_image(0, 0, 0, 1, OIIO::TypeDesc::UINT8, bytes));
    EXPECT_EQ((std::vector<int>{bytes[0], bytes[1], bytes[2]}), (std::vector<int>{0, 0, 255}));
}

TEST_F(BufferFiles, WithoutPremultiplicationSayThatTheirAlphaIsApart) {
    frame.encoding.premultiply = false;
    camera.framebuffers.emplace_back(definition("main", "rgba")).filename = "s.tif";
    const FramebufferSet set(camera, scene::OptionsElement(), log);
    const std::vector<float> half{0.25f, 0, 0, 0.5f, 0.25f, 0, 0, 0.5f, 0.25f, 0, 0, 0.5f, 0.25f, 0, 0, 0.5f};
    const Layer layer{&set.buffers()[1], half};
    ASSERT_TRUE(writeBufferFiles(directory.path(), frame, {&layer, 1}, {}, log)) << log.text();
    OIIO::ImageSpec asStored;
    asStored["oiio:UnassociatedAlpha"] = 1;
    const auto input = OIIO::ImageInput::open(directory.file("s.tif"), &asStored);
    EXPECT_EQ(input->spec().get_int_attribute("oiio:UnassociatedAlpha"), 1);
    std::vector<unsigned char> bytes(16);
    ASSERT_TRUE(input->read_image(0, 0, 0, 4, OIIO::TypeDesc::UINT8, bytes.data()));
    EXPECT_EQ(bytes[0], 128);
    EXPECT_EQ(bytes[3], 128);
}

TEST_F(BufferFiles, UnknownFormatsBecomeExrWithAWarning) {
    scene::FramebufferDefinition& main = camera.framebuffers.emplace_back(definition("main", "rgba_fp"));
    main.filename = "p";
    main.filetype = "qntpal";
    ASSERT_TRUE(write()) << log.text();
    EXPECT_TRUE(std::filesystem::exists(directory.file("p.exr")));
    EXPECT_EQ(log.count(LogLevel::Warning), 1);
    main.filetype = "null";
    std::filesystem::remove(directory.file("p.exr"));
    ASSERT_TRUE(write());
    EXPECT_EQ(directory.fileCount(), 0u);
    main.filetype = "tif"; // by word, the name as it is
    ASSERT_TRUE(write());
    EXPECT_TRUE(std::filesystem::exists(directory.file("p")));
}

TEST_F(BufferFiles, OfOneExrNameAreLayersOfOneFile) {
    addPasses(camera);
    for (scene::FramebufferDefinition& statement : camera.framebuffers) statement.filename = "all.exr";
    camera.framebuffers[0].filename = "z.exr";
    const Picture picture(camera, wholeFrame(4, 3), log);
    ASSERT_TRUE(writeBufferFiles(directory.path(), picture.frame, picture.layers, {}, log)) << log.text();
    EXPECT_EQ(directory.fileCount(), 2u);
    Imf::MultiPartInputFile all(directory.file("all.exr").c_str()), depth(directory.file("z.exr").c_str());
    EXPECT_TRUE(all.header(0).channels().findChannel("R"));
    EXPECT_TRUE(all.header(0).channels().findChannel("diffuse.R"));
    EXPECT_EQ(all.header(0).channels()["R"].type, Imf::FLOAT); // as the data type says
    EXPECT_EQ(channelsOf(depth.header(0)), std::vector<std::string>{"Z"});
}

} // namespace

} // namespace orca::image::test
