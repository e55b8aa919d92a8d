// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <string>
#include <vector>

/// Scenes, images and shaders that are damaged, boundless or hostile end with a message and an exit code.
namespace orca::image::test {

namespace {

struct Input : Command {
    /// The scene of a grey card, with text before it and one piece replaced.
    void card(const std::string& name, const std::string& before, const std::string& old = "",
              const std::string& replacement = "") {
        std::string text = grayCard;
        if (!old.empty()) text.replace(text.find(old), old.size(), replacement);
        scene(name, before + text + renderIt);
    }
    /// The card with a shader of the test library.
    void shaded(const std::string& name, const std::string& shader) {
        card(name,
             "link \"orca-test-shaders.so\"\ndeclare shader color \"" + shader +
                 "\" ( ) version 1 end declare\nmaterial \"m\" opaque \"" + shader + "\" ( ) end material\n",
             "tag 7", "material \"m\" tag 7");
    }
    /// An image of noise, of which the first half is kept.
    void cutImage(const std::string& name) {
        const OIIO::ImageSpec spec(64, 64, 3, OIIO::TypeDesc::UINT8);
        std::vector<unsigned char> bytes(64 * 64 * 3);
        unsigned random = 1;
        for (unsigned char& byte : bytes)
            byte = static_cast<unsigned char>((random = random * 1664525 + 1) >> 24);
        const auto file = OIIO::ImageOutput::create(name);
        ASSERT_TRUE(file && file->open(directory.file(name), spec) &&
                    file->write_image(OIIO::TypeDesc::UINT8, bytes.data()) && file->close());
        std::filesystem::resize_file(directory.file(name),
                                     std::filesystem::file_size(directory.file(name)) / 2);
    }
};

TEST_F(Input, ThatIsDamagedOrBoundlessEndsWithAMessage) {
    card("camera.mi", "", "0 0 -4 1", "0 0 -1e19 1");
    card("instance.mi", "", "tag 7", "tag 7 transform 1 0 0 0  0 1 0 0  0 0 1 0  1e19 0 0 1");
    card("aspect.mi", "", "aspect 2.0", "aspect 1e-40");
    scene("utf16.mi", std::string("\xFF\xFEl\0i\0", 6));
    scene("zero.ppm", "P6\n0 0\n255\n");
    scene("vast.ppm", "P6\n2000000000 2000000000\n255\nabc");
    cutImage("cut.jpg");
    cutImage("cut.tif");
    for (const std::string image : {"zero.ppm", "vast.ppm", "cut.jpg", "cut.tif"})
        card(image + ".mi", "color texture \"t\" \"" + image + "\"\n");

    std::string doubling = "registry \"{r0}\" value \"\" end registry\n",
                nested = "declare shader color \"c\" ( ) end declare\ndeclare phenomenon color \"p0\" ( ) "
                         "shader \"a\" \"c\" ( ) "
                         "shader \"b\" \"c\" ( ) root = \"a\" end declare\n";
    for (int i = 1; i < 40; ++i) {
        doubling += fmt::format("registry \"{{r{0}}}\" value \"{{r{1}}}{{r{1}}}\" end registry\n", i, i - 1);
        nested += fmt::format("declare phenomenon color \"p{0}\" ( ) shader \"a\" \"p{1}\" ( ) shader \"b\" "
                              "\"p{1}\" ( ) root = \"a\" end declare\n",
                              i, i - 1);
    }
    card("registry.mi", doubling + "color texture \"t\" \"{r30}.tif\"\n");
    card("phenomena.mi", nested);
    card("device.mi", "$include \"/dev/zero\"\n");
    card("map.mi",
         "light \"l\" origin 0 0 2 shadowmap on shadowmap resolution 1000000 end light\n"
         "instance \"li\" \"l\" end instance\n"
         "options \"mapped\" shadow on shadowmap on end options\n",
         "\"cam_inst\" \"card_inst\"", "\"cam_inst\" \"card_inst\" \"li\"");
    scene("map.mi", content("map.mi") + "render \"world\" \"cam_inst\" \"mapped\"\n");
    scene("ies.ies", "IESNA:LM-63-1995\nTILT=NONE\n1 1000 0 1 1 1 1 0 0 0\n1 1 0\n0\n0\n100\n");
    card("ies.mi", "lightprofile \"p\" format ies file \"ies.ies\" end lightprofile\n");
    std::filesystem::copy_file(std::filesystem::path(build_paths::libraries) / "orca.so",
                               directory.file("half.so"));
    std::filesystem::resize_file(directory.file("half.so"), 100000);
    card("library.mi", "link \"./half.so\"\n");

    card("mark.mi", "\xEF\xBB\xBF# UTF-8\n");
    expectCalls({
        {"camera.mi", 1, {"a ray from (0, 0, 1e+19)", "is out of reach"}},
        {"instance.mi", 1, {"instance.mi:15:", "\"card_inst\" is left out"}},
        {"aspect.mi", 3, {"aspect.mi:6:", "the aspect must be from"}},
        {"utf16.mi", 3, {"utf16.mi", "save it as UTF-8"}},
        {"zero.ppm.mi --check", 3, {"zero.ppm.mi:1:", "0 x 0 pixels"}},
        {"vast.ppm.mi --check", 3, {"vast.ppm.mi:1:", "2000000000 x 2000000000 pixels"}},
        {"cut.jpg.mi --check", 3, {"cut.jpg.mi:1:", "before its end-of-image marker"}},
        {"cut.tif.mi --check", 3, {"cut.tif.mi:1:", "its pixels take"}},
        {"registry.mi", 3, {"registry.mi:41:", "more than 10000 registry entries"}},
        {"phenomena.mi", 3, {"phenomena.mi:", "phenomenon \"p14\" would have more than 20000 parts"}},
        {"device.mi", 3, {"device.mi:1:", "\"/dev/zero\": it is a device"}},
        {"map.mi", 1, {"map.mi:1:", "light \"l\": a shadow map of 1000000 x 1000000"}},
        {"ies.mi", 1, {"ies.ies:3:", "multiplier must be above 0"}},
        {"library.mi", 3, {"half.so", "it is truncated: 100000 bytes"}},
        {"camera.mi --contrast inf", 2, {"--contrast"}},
        {"camera.mi --filter gauss 1e9", 2, {"above 0 and at most 64"}},
        {"mark.mi", 0, {}},
    });
}

TEST_F(Input, OfShadersThatNeverEndIsBounded) {
    shaded("again.mi", "testEyeAgain");
    shaded("chatters.mi", "testChatters");
    expectCalls({{"again.mi --size 4x2", 0, {"rays nest too deep"}},
                 {"chatters.mi --size 64x32", 0, {"more times)"}}});
    EXPECT_LT(std::count(output.begin(), output.end(), '\n'), 110);
}

} // namespace

} // namespace orca::image::test
