// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <algorithm>
#include <vector>

#include <sys/stat.h>

/// What the command writes, and what must survive when it cannot.
namespace orca::image::test {

namespace {

struct Output : Command {
    Output() { scene("a.mi", grayCard + std::string(renderIt)); }

    [[nodiscard]] std::vector<std::string> temporaries() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
            if (entry.path().filename().string().starts_with(".orca-partial"))
                names.push_back(entry.path().filename().string());
        return names;
    }
};

TEST_F(Output, KeepsTheOldFileWhereTheNewOneDoesNotFit) {
    for (const std::string format : {"exr", "png", "jpg", "tif", "tga", "bmp", "sgi", "hdr"}) {
        const std::string name = "picture." + format;
        scene(name, "the picture of yesterday");
        const std::string outputs = format == "exr" ? "-o " + name : "--png " + name;
        EXPECT_EQ(run("a.mi " + outputs, "ulimit -f 0;"), 4) << format;
        EXPECT_TRUE(says("cannot write \"" + name + "\"")) << output;
        EXPECT_EQ(content(name), "the picture of yesterday") << format;
        EXPECT_EQ(temporaries(), std::vector<std::string>()) << format;
    }
    EXPECT_EQ(run("a.mi --stats-json s.json", "ulimit -f 0;"), 4);
    EXPECT_EQ(content("s.json"), "");
}

TEST_F(Output, ThatWouldOverwriteWhatIsReadOrWrittenIsRefusedBeforeRendering) {
    scene("inner.mi", grayCard);
    scene("b.mi", std::string("$include \"inner.mi\"\n") + renderIt);
    scene("wood.exr", "pixels");
    scene("textured.mi", std::string("color texture \"wood\" \"wood.exr\"\n") + grayCard + renderIt);
    const std::string named =
        "framebuffer \"second\" datatype \"rgba_fp\" user off filename \"same.tif\" filetype \"tif\"";
    std::string frames = grayCard;
    frames.insert(frames.find("framebuffer"), named + "\n");
    scene("frames.mi", frames + renderIt + "incremental camera \"cam\" frame 5 end camera\n" + renderIt);
    scene("f.01.mi", grayCard + std::string(renderIt));

    expectCalls({
        {"b.mi -o ./b.mi", 4, {"\"./b.mi\" is the scene", "the layered file (-o)"}},
        {"b.mi -o inner.mi", 4, {"b.mi:1:1", "an included file", "the layered file (-o)"}},
        {"textured.mi -o wood.exr", 4, {"textured.mi:1:", "texture \"wood\"", "the layered file (-o)"}},
        {"a.mi -o x.exr --stats-json x.exr", 4, {"the layered file (-o) and the statistics (--stats-json)"}},
        {"a.mi --png p/../x.png --png-layers . -o main.png.exr --stats-json x.png", 4, {"--png", "--stats"}},
        {"a.mi --png x.exr", 2, {"the layered OpenEXR that -o writes"}},
        {"a.mi --png x.txt", 2, {"end it in .png"}},
        {"f.##.mi --frames 1-2 -o one.exr", 2, {"frames 1 and 2", "-o: put ####"}},
        {"f.##.mi --frames 1-2 --png one.png", 2, {"frames 1 and 2", "--png: put ####"}},
        {"frames.mi -o f.####.exr", 4, {"same.tif\" holds frame 1", "frame 5 would overwrite it"}},
    });
    EXPECT_EQ(content("wood.exr"), "pixels");
    EXPECT_EQ(content("inner.mi"), grayCard);
    EXPECT_TRUE(exists("f.0001.exr"));
    for (const char* never : {"f.0005.exr", "x.exr", "x.png", "one.exr", "one.png"})
        EXPECT_FALSE(exists(never)) << never;
}

TEST_F(Output, OfAStrictRunMustBeAllThatTheSceneAsksFor) {
    const auto with = [](const std::string& buffer, const std::string& option) {
        std::string text = grayCard;
        text.insert(text.find("framebuffer"), buffer);
        return text.insert(text.find("trace depth"), option) + renderIt;
    };
    scene("unwritten.mi", with("framebuffer \"mine\" datatype \"rgba_fp\" user on\n", ""));
    scene("ineffective.mi", with("", "samples motion 4 "));
    scene("missing.mi", "color texture \"gone\" \"gone.tif\"\n" + with("", ""));
    expectCalls({{"unwritten.mi", 0, {}},
                 {"ineffective.mi", 0, {}},
                 {"missing.mi", 0, {}},
                 {"a.mi --strict", 0, {}},
                 {"unwritten.mi --strict", 1, {"\"mine\" was written by no shader"}},
                 {"ineffective.mi --strict", 3, {"\"samples motion\" has no effect"}},
                 {"missing.mi --strict", 3, {"texture \"gone\": there is no file \"gone.tif\""}},
                 {"a.mi --shadow sort --strict", 0, {}}});

    scene("inner.mi", grayCard);
    scene("outer.mi", "color texture \"gone\" \"gone.tif\"\ncolor texture \"wood\" \"wood.tif\"\n"
                      "lightprofile \"p\" format ies file \"lamps/lamp.ies\" end lightprofile\n"
                      "$include \"inner.mi\"\n" +
                          std::string(renderIt));
    scene("wood.tif", "");
    scene("lamps/lamp.ies", "IESNA:LM-63-1995\nTILT=lamp.tilt\n1 1000 1 1 1 1 1 0 0 0\n1 1 0\n0\n0\n100\n");
    scene("lamps/lamp.tilt", "");
    EXPECT_EQ(run("outer.mi --list-inputs -v 1"), 3);
    EXPECT_EQ(output, "inner.mi\nlamps/lamp.ies\nlamps/lamp.tilt\nouter.mi\nwood.tif\n");
}

TEST_F(Output, FollowsLinksKeepsTheModeAndStreamsIntoFifos) {
    scene("real.exr", "");
    scene("links/other.exr", "");
    std::filesystem::create_symlink("../real.exr", directory.file("links/link.exr"));
    ASSERT_EQ(::chmod(directory.file("real.exr").c_str(), 0606),
              0); // more than the mask for new files grants
    scene(".orca-partial.real.exr.0123456789abcdef", "left by a process that was killed");
    ASSERT_EQ(run("a.mi --reproducible -o links/link.exr"), 0) << output;
    EXPECT_TRUE(std::filesystem::is_symlink(directory.file("links/link.exr")));
    struct stat status {};
    ASSERT_EQ(::stat(directory.file("real.exr").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0606u);
    EXPECT_EQ(temporaries(), std::vector<std::string>());

    ASSERT_EQ(run("a.mi --reproducible -o fifo", "mkfifo fifo; cat fifo > streamed.exr &"), 0) << output;
    EXPECT_EQ(run("--version", "while ! cmp -s streamed.exr real.exr; do sleep 0.05; done;"), 0);
    EXPECT_EQ(content("streamed.exr"), content("real.exr"));
    EXPECT_TRUE(std::filesystem::is_fifo(directory.file("fifo")));
    // A log that nobody reads any more.
    run("a.mi --reproducible -v 5 -o piped.exr 2>&1 | exec true; cd .");
    EXPECT_EQ(content("piped.exr"), content("real.exr"));
}

} // namespace

} // namespace orca::image::test
