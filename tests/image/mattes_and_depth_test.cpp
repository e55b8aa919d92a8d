// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <OpenImageIO/imagebuf.h>

#include <bit>
#include <cmath>
#include <cstdint>

/// Files of mattes by name, and deep files, as other programs read them.
namespace orca::image::test {

namespace {

struct SeenByName : Command {
    SeenByName() { scene("lit.mi", litCards + std::string(renderIt)); }
    [[nodiscard]] OIIO::ImageBuf read(const std::string& file, int part = 0) const {
        return OIIO::ImageBuf(directory.file(file), part, 0);
    }
};

TEST_F(SeenByName, ObjectsAndMaterialsAreLayersWithTheirNames) {
    const std::string passes = "lit.mi --no-default-light --passes crypto[ranks=4] ";
    for (const bool isSingle : {false, true}) {
        ASSERT_EQ(run(passes + (isSingle ? "--single-part -o a.exr" : "-o a.exr")), 0) << output;
        int part = 0; // that has the channels
        while (read("a.exr", part).spec().channelindex("CryptoObject01.A") < 0) ASSERT_LT(++part, 20);
        const OIIO::ImageBuf whole = read("a.exr");
        const OIIO::ImageSpec& first = whole.nativespec();
        // The key is the beginning of the name's own hash.
        EXPECT_EQ(first.get_string_attribute("cryptomatte/3ae39a5/name"), "CryptoObject");
        EXPECT_EQ(first.get_string_attribute("cryptomatte/3ae39a5/hash"), "MurmurHash3_32");
        EXPECT_EQ(first.get_string_attribute("cryptomatte/3ae39a5/conversion"), "uint32_to_float32");
        const std::string names = first.get_string_attribute("cryptomatte/3ae39a5/manifest");
        EXPECT_TRUE(names.find("\"card_inst\":\"") < names.find("\"front\":\"")) << names;
    }
    expectCalls({{"lit.mi --passes 'crypto[ranks=5]'", 2, {"an even number from 2 to 16, not \"5\""}},
                 {"lit.mi --passes 'Crypto*[name=x]'", 2, {"no one name"}},
                 {"lit.mi --passes crypto --exr-type CryptoAsset01=half -o x.exr", 4, {"would round"}},
                 {"lit.mi --list-outputs --passes '*Asset'", 0, {"CryptoAsset02.A"}}});
    const auto withBuffers = [&](const std::string& buffers) {
        return litCards + "incremental camera \"cam\" " + buffers + " end camera\n" + renderIt;
    };
    const std::string ids = "framebuffer \"ids\" datatype \"crypto_asset_2\" ";
    scene("png.mi", withBuffers(ids + "filename \"ids.png\""));
    scene("twice.mi", withBuffers("framebuffer \"ids00\" datatype \"z\" " + ids));
    expectCalls({{"png.mi -o x.exr", 4, {"ids, which only exr files can hold"}},
                 {"twice.mi -o x.exr", 1, {"\"ids00\", which is another frame buffer"}}});
}

TEST_F(SeenByName, LabelsAreNeverZeroUnlessTheSceneSaysSo) {
    ASSERT_EQ(run("lit.mi --passes label,CryptoObject --pixel 10,4"), 0) << output;
    const auto label = static_cast<std::uint32_t>(layerValues(output, "label").at(0));
    const double id = layerValues(output, "CryptoObject00").at(0);
    EXPECT_NEAR(static_cast<double>(std::bit_cast<float>(label)), id, 1e-6 * std::abs(id));
    scene("zero.mi", litCards + "incremental instance \"front\" tag 0 end instance\n" + renderIt);
    ASSERT_EQ(run("zero.mi --passes label --pixel 10,4"), 0) << output;
    EXPECT_EQ(layerValues(output, "label"), std::vector<double>{0});
}

} // namespace

} // namespace orca::image::test
