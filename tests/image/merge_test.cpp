// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <fmt/format.h>

#include <string>

/// orca-merge and orca-render's --window, --checkpoint and --skip-existing as a render farm meets them.
namespace orca::image::test {

namespace {

class Parts : public Command {
protected:
    static constexpr const char* options =
        " --size 61x43 --samples 0 2 --contrast 0.02 --reproducible --passes diffuse,shadow ";

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

TEST_F(Parts, AreSkippedOnlyWhenTheyAreCompleteAndTheSame) {
    const std::string part = "card.mi" + std::string(options) + "-o a.exr --window ",
                      skip = " --skip-existing -v 4 ",
                      another = "of another scene, options, window or version";
    expectCalls({{part + "0 0 29 20", 0, {}},
                 {part + "0 0 29 20 --tile-size 8" + skip, 0, {"\"a.exr\" is complete"}},
                 {part + "0 0 29 20 --png a.png" + skip, 0, {}},
                 {part + "0 0 30 20" + skip, 0, {another}},
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
