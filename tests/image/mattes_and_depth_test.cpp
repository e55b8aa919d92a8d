// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

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

TEST_F(SeenByName, DeepFilesFlattenToThePicture) {
    scene("veil.mi",
          litCards + "incremental shader \"red\" \"orcaVelaLambert\" ( \"transparency\" 0.4 0.4 0.4 1 )\n" +
              renderIt);
    ASSERT_EQ(run("veil.mi --passes beauty --samples 2 2 --exr-type float -o flat.exr --deep deep.exr "
                  "--window 2 1 14 7"),
              0)
        << output;
    const OIIO::ImageBuf deep = read("deep.exr"), flat = read("flat.exr");
    ASSERT_TRUE(deep.deep());
    const OIIO::ImageBuf composited = OIIO::ImageBufAlgo::flatten(deep);
    ASSERT_EQ(composited.roi().npixels(), flat.roi().npixels());
    for (OIIO::ImageBuf::ConstIterator<float> seen(flat, flat.roi()), made(composited, flat.roi());
         !seen.done(); ++seen, ++made)
        for (const char* channel : {"R", "G", "B", "A"})
            EXPECT_NEAR(made[composited.spec().channelindex(channel)],
                        seen[flat.spec().channelindex(channel)], 2e-6f);
    EXPECT_EQ(deep.deep_samples(10, 3), 2);

    const std::string start = "veil.mi -o x.exr --deep deep.exr ";
    expectCalls({{start + "--part 1/2x2", 2, {"leave out --part"}},
                 {start + "--sample-range 0:1", 2, {"leave out --sample-range"}},
                 {start + "--checkpoint 60", 2, {"leave out --checkpoint"}},
                 {start + "--denoise", 2, {"leave out --denoise"}},
                 {start + "--filter lanczos", 2, {"no deep sample can hold"}},
                 {start + "--samples -1 1", 2, {"give --samples 0 or more"}},
                 {"veil.mi -o deep.exr --deep deep.exr", 4, {"both"}},
                 {"veil.mi --deep deep.png", 2, {"end it in .exr"}}});
    EXPECT_FALSE(exists("x.exr"));
}

} // namespace

} // namespace orca::image::test
