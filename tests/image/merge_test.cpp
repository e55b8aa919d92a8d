// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include <string>

/// orca-merge and orca-render's --window, --sample-range, --checkpoint and --skip-existing as a render farm
/// meets them.
namespace orca::image::test {

namespace {

class Parts : public Command {
protected:
    static constexpr const char* options = " --size 61x43 --samples 0 2 --contrast 0.02 --reproducible "
                                           "--passes diffuse,shadow,variance,samples ";

    void SetUp() override { scene("card.mi", grayCard + std::string(renderIt)); }
    int window(const std::string& window, const std::string& file, const std::string& more = {}) {
        return run("card.mi" + std::string(options) + "--window " + window + " -o " + file + " " + more);
    }
    int merge(const std::string& arguments) { return runTool("orca-merge", arguments); }
};

TEST_F(Parts, JoinToTheFileOfTheWholePicture) {
    ASSERT_EQ(run("card.mi" + std::string(options) + "-o whole.exr"), 0) << output;
    ASSERT_EQ(window("0 0 29 20", "a.exr"), 0) << output;
    ASSERT_EQ(window("30 0 60 20", "b.exr"), 0) << output;
    ASSERT_EQ(window("0 19 60 42", "c.exr"), 0) << output; // two rows are in all of them
    EXPECT_EQ(merge("b.exr c.exr a.exr -o joined.exr"), 0) << output;
    EXPECT_EQ(content("joined.exr"), content("whole.exr"));

    const std::string overscan = "card.mi" + std::string(options) + "--overscan 12% -o ";
    ASSERT_EQ(run(overscan + "whole.exr --png whole.png"), 0) << output;
    for (const char* part : {"1", "2", "3", "4"})
        ASSERT_EQ(run(overscan + part + ".exr --part " + part + "/2x2"), 0) << output;
    EXPECT_EQ(merge("1.exr 2.exr 3.exr -o d.exr"), 4);
    EXPECT_TRUE(says("still to be rendered: --window 30 21 68 48")) << output;
    EXPECT_EQ(merge("1.exr 2.exr 3.exr 4.exr -o joined.exr"), 0) << output;
    EXPECT_EQ(content("joined.exr"), content("whole.exr"));
    const auto layered = OIIO::ImageInput::open(directory.path() + "/whole.exr"),
               png = OIIO::ImageInput::open(directory.path() + "/whole.png");
    ASSERT_TRUE(layered && png);
    EXPECT_EQ(layered->spec().roi(), OIIO::ROI(-8, 69, -6, 49, 0, 1, 0, layered->spec().nchannels));
    EXPECT_EQ(layered->spec().roi_full().width(), 61);
    EXPECT_EQ(png->spec().roi(), OIIO::ROI(0, 61, 0, 43, 0, 1, 0, 3));

    ASSERT_EQ(window("0 0 29 20", "other.exr", "--trace off"), 0) << output;
    directory.write("half.exr", content("b.exr").substr(0, content("b.exr").size() / 2));
    const Call cases[] = {{"a.exr c.exr -o d.exr", 4, {"still to be rendered: --window 30 0 60 18"}},
                          {"other.exr b.exr c.exr -o d.exr",
                           4,
                           {"not of the same picture; they differ in scene, options or version"}},
                          {"a.exr half.exr c.exr -o d.exr", 4, {"\"half.exr\" cannot be joined"}},
                          {"a.exr b.exr -o a.exr", 2, {}}};
    for (const auto& [arguments, exitCode, prints] : cases) {
        EXPECT_EQ(merge(arguments), exitCode) << arguments << output;
        for (const std::string& part : prints) EXPECT_TRUE(says(part)) << arguments << output;
    }
    EXPECT_FALSE(exists("d.exr"));
}

struct SampleRanges : Parts, ::testing::WithParamInterface<const char*> {
    void SetUp() override {
        std::string camera = grayCard;
        camera.insert(camera.find("    resolution"),
                      "    framebuffer \"labels\" datatype \"tag\"\n"
                      "    framebuffer \"ids\" datatype \"crypto_object_4\"\n");
        scene("card.mi", camera + std::string(renderIt));
    }
    int range(const std::string& range, const std::string& file, const std::string& more = "") {
        return run(std::string("card.mi --size 31x17 --reproducible --samples 2 2 --trace on ") + GetParam() +
                   more + (range.empty() ? "" : " --sample-range ") + range + " -o " + file);
    }
};

TEST_P(SampleRanges, AddUpToTheFileOfAllSamples) {
    ASSERT_EQ(range("", "whole.exr"), 0) << output;
    ASSERT_EQ(range("0:5", "a.exr"), 0) << output;
    ASSERT_EQ(range("5:16", "b.exr", " --window 0 0 12 16"), 0) << output;
    ASSERT_EQ(range("5:16", "c.exr", " --window 13 0 30 16"), 0) << output;
    ASSERT_EQ(range("1/2", "d.exr", " --window 13 0 30 16"), 0) << output;
    ASSERT_EQ(range("0:5", "e.exr", " --window 0 0 12 16"), 0) << output;
    ASSERT_EQ(range("2/2", "f.exr", " --window 13 0 30 16"), 0) << output;
    EXPECT_EQ(merge("f.exr b.exr e.exr d.exr -o joined.exr"), 0) << output;
    EXPECT_TRUE(content("joined.exr") == content("whole.exr"));
    EXPECT_TRUE(content("d.exr") != content("f.exr"));
    ASSERT_EQ(range("0:16", "all.exr"), 0) << output;
    EXPECT_EQ(merge("all.exr -o joined.exr"), 0) << output;
    EXPECT_TRUE(content("joined.exr") == content("whole.exr"));

    const Call cases[] = {{"b.exr c.exr", 4, {"still to be rendered: --sample-range 0:5 --window 0 0 12 16"}},
                          {"e.exr b.exr", 4, {"still to be rendered: --window 13 0 30 16"}},
                          {"a.exr", 4, {"still to be rendered: --sample-range 5:16\n"}},
                          {"d.exr c.exr f.exr",
                           4,
                           {"\"d.exr\" and \"c.exr\" hold the same samples: ranges 0:8 and 5:16 overlap"}}};
    for (const Call& call : cases) {
        EXPECT_EQ(merge(call.arguments + " -o x.exr"), call.exitCode) << call.arguments;
        EXPECT_TRUE(says(call.prints.front())) << call.arguments << output;
    }
    ASSERT_EQ(range("0:5", "other.exr", " --window 0 0 12 16 --portable"), 0) << output;
    EXPECT_EQ(merge("other.exr b.exr -o x.exr"), 4);
    EXPECT_TRUE(says("not of the same picture; they differ in arithmetic")) << output;
    EXPECT_EQ(range("0:5", "a.exr", " --resume -v 4"), 0);
    EXPECT_TRUE(says("\"a.exr\" is complete")) << output;
    EXPECT_EQ(range("0:6", "a.exr", " --resume"), 0);
    EXPECT_TRUE(says("of another scene, options")) << output;
}

INSTANTIATE_TEST_SUITE_P(Pictures, SampleRanges,
                         ::testing::Values("--filter lanczos --single-part --passes variance",
                                           "--passes beauty,normalWorld,variance,samples"));

TEST_F(Parts, OfTheSamplesNeedTheSameNumberInEveryPixel) {
    const std::string start = "card.mi -o x.exr --samples ";
    expectCalls({{start + "0 2 --sample-range 0:4", 2, {"such as 16 with --samples 2 2"}},
                 {start + "-1 -1 --sample-range 0:1", 2, {"such as 1 with --samples 0 0"}},
                 {start + "1 1 --sample-range 2:5", 2, {"beyond the 4 samples"}},
                 {start + "1 1 --sample-range 1/5", 2, {"only 4 samples"}},
                 {start + "1 1 --sample-range 2:2", 2, {"not a range such as 0:16"}},
                 {start + "1 1 --sample-range 0:2 --png x.png", 2, {"no picture to look at"}}});
    EXPECT_FALSE(exists("x.exr"));
}

TEST_F(Parts, AreSkippedOnlyWhenTheyAreCompleteAndTheSame) {
    const std::string part = "card.mi" + std::string(options) + "-o a.exr --window ",
                      skip = " --skip-existing -v 4 ",
                      another = "of another scene, options, window, kind of file or version";
    expectCalls({{part + "0 0 29 20", 0, {}},
                 {part + "0 0 29 20 --tile-size 8" + skip, 0, {"\"a.exr\" is complete"}},
                 {part + "0 0 29 20 --png a.png" + skip, 0, {}},
                 {part + "0 0 30 20" + skip, 0, {another}},
                 {part + "0 0 30 20 --trace off --exr-type float" + skip, 0, {another}},
                 {part + "0 0 30 20 --trace off --exr-type float" + skip, 0, {"\"a.exr\" is complete"}},
                 {part + "0 0 30 20 --trace off" + skip, 0, {another}}});
    EXPECT_TRUE(exists("a.png")); // not skipped, as it was missing
    std::string other = grayCard + std::string(renderIt);
    scene("card.mi", other.replace(other.find("tag 7"), 5, "tag 8"));
    expectCalls({{part + "0 0 30 20 --trace off" + skip, 0, {another}}, {part + "0 0 29 20", 0, {}}});
    const std::string whole = content("a.exr");
    directory.write("a.exr", whole.substr(0, whole.size() - 10));
    EXPECT_EQ(window("0 0 29 20", "a.exr", "--resume"), 0);
    EXPECT_TRUE(says("not complete")) << output;
    EXPECT_EQ(content("a.exr"), whole);
    EXPECT_FALSE(exists("a.exr.checkpoint"));
}

} // namespace

} // namespace orca::image::test
