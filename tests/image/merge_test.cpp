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

    EXPECT_EQ(merge("a.exr c.exr -o d.exr"), 4);
    EXPECT_TRUE(says("still to be rendered: --window 30 0 60 18")) << output;
    ASSERT_EQ(window("0 0 29 20", "other.exr", "--trace off"), 0) << output;
    EXPECT_EQ(merge("other.exr b.exr c.exr -o d.exr"), 4);
    EXPECT_TRUE(says("not of the same picture; they differ in scene, options or version")) << output;
    const std::string whole = content("b.exr");
    directory.write("b.exr", whole.substr(0, whole.size() / 2));
    EXPECT_EQ(merge("a.exr b.exr c.exr -o d.exr"), 4);
    EXPECT_TRUE(says("\"b.exr\"")) << output;
    EXPECT_EQ(merge("a.exr b.exr -o a.exr"), 2);
    EXPECT_FALSE(exists("d.exr"));
}

TEST_F(Parts, AreSkippedOnlyWhenTheyAreCompleteAndTheSame) {
    ASSERT_EQ(window("0 0 29 20", "a.exr"), 0);
    EXPECT_EQ(window("0 0 29 20", "a.exr", "--skip-existing -v 4"), 0);
    EXPECT_TRUE(says("\"a.exr\" is complete")) << output;
    for (const char* other : {"0 0 30 20", "0 0 29 20 --trace off"}) {
        EXPECT_EQ(window(other, "a.exr", "--skip-existing"), 0);
        EXPECT_TRUE(says("of another scene, options, window or version")) << other << output;
    }
    ASSERT_EQ(window("0 0 29 20", "a.exr"), 0);
    const std::string whole = content("a.exr");
    directory.write("a.exr", whole.substr(0, whole.size() - 10));
    EXPECT_EQ(window("0 0 29 20", "a.exr", "--resume"), 0);
    EXPECT_TRUE(says("not complete")) << output;
    EXPECT_EQ(content("a.exr"), whole);
    EXPECT_FALSE(exists("a.exr.checkpoint"));
}

} // namespace

} // namespace orca::image::test
