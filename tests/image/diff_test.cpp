// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <OpenImageIO/imageio.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace orca::image::test {

namespace {

constexpr int width = 5, height = 4;

/// Channel c of pixel x, y.
using Values = std::function<float(int x, int y, int c)>;

float slope(int x, int y, int c) {
    return 0.1f * static_cast<float>(x) + static_cast<float>(y) + 0.01f * static_cast<float>(c);
}

class Differences : public Command {
protected:
    /// @param name of the part; empty: the layer's names are those of its channels
    void writeLayer(const std::string& file, const std::string& name, std::vector<std::string> channels,
                    const Values& values, int left = 0) {
        OIIO::ImageSpec spec(width, height, static_cast<int>(channels.size()), OIIO::TypeFloat);
        spec.x = left;
        spec.channelnames = std::move(channels);
        if (!name.empty()) spec.attribute("oiio:subimagename", name);
        std::vector<float> pixels;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < spec.nchannels; ++c) pixels.push_back(values(x, y, c));
        const std::string path = directory.path() + "/" + file;
        const auto out = OIIO::ImageOutput::create(path);
        ASSERT_TRUE(out && out->open(path, spec) && out->write_image(OIIO::TypeFloat, pixels.data()) &&
                    out->close());
    }
};

TEST_F(Differences, AreFoundByLayerWithTheirSizeAndPlace) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<std::string> channels{"R", "G", "depth.Z"};
    const auto at = [](int pixelX, int pixelY, int channel, float value) -> Values {
        return [=](int x, int y, int c) {
            return x == pixelX && y == pixelY && c == channel ? value : slope(x, y, c);
        };
    };
    writeLayer("a.exr", "", channels, slope);
    writeLayer("far.exr", "", channels, at(3, 2, 1, 2.81f));    // 2.31 + 0.5
    writeLayer("deeper.exr", "", channels, at(4, 3, 2, 3.84f)); // 3.42 + 0.42
    writeLayer("nan.exr", "", channels, at(1, 1, 0, nan));
    writeLayer("moved.exr", "", channels, slope, 1);
    writeLayer("more.exr", "", {"R", "G", "id.Y"}, slope);
    writeLayer("part.exr", "beauty", {"R", "G"}, slope);
    writeLayer("alike.exr", "beauty", {"beauty.R", "beauty.G"}, slope);
    directory.write("broken.exr", "no picture");

    const Call cases[] = {
        {"a.exr a.exr", 0, {"(picture)  alike", "depth      alike"}},
        {"a.exr far.exr",
         1,
         {"1 of 20 pixels differ; at most 0.5 (G at 3,2), RMS 0.0791, PSNR 32.7 dB", "depth      alike"}},
        {"a.exr far.exr --tolerance 0.51", 0, {"0 of 20 pixels differ"}},
        {"a.exr far.exr --relative 0.17", 1, {}}, // 0.5 of 2.81 is 0.178
        {"a.exr far.exr --relative 0.18", 0, {}},
        {"a.exr far.exr --share 0.05", 0, {}},
        {"a.exr far.exr --layers 'de*'", 0, {}},
        {"a.exr deeper.exr --layers 'de*'", 1, {"0.42 (Z at 4,3)"}},
        {"a.exr nan.exr --tolerance 9", 1, {"at most inf (R at 1,1), RMS 0,"}},
        {"nan.exr nan.exr", 0, {}},
        {"a.exr moved.exr", 1, {"5 x 4 at 0,0 with R,G and 5 x 4 at 1,0 with R,G"}},
        {"a.exr more.exr", 1, {"depth      only in a.exr", "id         only in more.exr"}},
        {"part.exr alike.exr", 0, {"beauty  alike"}},
        {"a.exr broken.exr", 4, {"\"broken.exr\" cannot be read"}},
        {"a.exr a.exr --layers none", 4, {"neither file has a layer of these names"}},
        {"a.exr", 2, {}},
        {"a.exr far.exr -q --json figures.json --picture apart.png --white 0.5", 1, {}},
    };
    for (const auto& [arguments, exitCode, prints] : cases) {
        EXPECT_EQ(runTool("orca-diff", arguments), exitCode) << arguments << '\n' << output;
        for (const std::string& part : prints) EXPECT_TRUE(says(part)) << arguments << '\n' << output;
    }
    EXPECT_EQ(output, "");
    EXPECT_NE(content("figures.json").find("\"x\": 3"), std::string::npos) << content("figures.json");
    const auto picture = OIIO::ImageInput::open(directory.path() + "/apart.png"); // one tile: depth is alike
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->spec().width, width);
    std::vector<unsigned char> shown(3 * width * height);
    ASSERT_TRUE(picture->read_image(0, 0, 0, 3, OIIO::TypeUInt8, shown.data()));
    for (int i = 0; i < width * height; ++i)
        EXPECT_EQ(shown[static_cast<std::size_t>(3 * i + 2)], i == 2 * width + 3 ? 255 : 0) << i;
}

} // namespace

} // namespace orca::image::test
