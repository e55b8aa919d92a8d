// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <filesystem>
#include <string>

/// The options for scenes from strangers.
namespace orca::image::test {

namespace {

struct Confinement : Command {
    void SetUp() override {
        for (const char* folder : {"in", "out"}) std::filesystem::create_directory(directory.file(folder));
        scene("out/part.mi", "# nothing\n");
        scene("in/part.mi", "# nothing\n");
        scene("out/lamp.ies", "TILT=NONE\n1 1 1 2 1 1 1 1 1 1 1 1 1\n0 90\n0\n1 1\n");
        scene("out/image.ppm", "P3\n1 1\n255\n1 2 3\n");
        scene("in/film.mp4", "no film");
        std::filesystem::create_symlink("../out/part.mi", directory.file("in/link.mi"));
    }
    /// in/NAME.mi: the statements, then a card.
    void card(const std::string& name, const std::string& statements) {
        scene("in/" + name + ".mi", statements + "\n" + grayCard + renderIt);
    }
};

TEST_F(Confinement, RefusesFilesOutsideOfTheFoldersWithThePlaceOfTheStatement) {
    card("shipped", "link \"orca.so\"\n$include <orca.mi>\n$include \"part.mi\"");
    card("library", "link \"orca-test-shaders.so\"");
    card("path", "link \"" + directory.file("out/own.so") + "\"");
    card("include", "$include \"../out/part.mi\"");
    card("symbolic", "$include \"link.mi\"");
    card("data", "data \"d\" \"../out/part.mi\" end data");
    card("texture", "color texture \"t\" \"../out/image.ppm\"");
    card("film", "color texture \"t\" \"film.mp4\"");
    card("profile", "lightprofile \"p\" format ies file \"../out/lamp.ies\" end lightprofile");
    const std::string confined = " --files off --read-only-under in", noLink = " --files off --no-link";
    expectCalls({
        {"in/shipped.mi" + confined, 0, {}},
        {"in/shipped.mi" + noLink, 0, {}},
        {"in/library.mi" + noLink, 3, {"in/library.mi:1:", "only orca.so and velabase.so", "(--no-link)"}},
        {"in/shipped.mi --link orca-test-shaders.so" + noLink, 0, {}}, // the user's own
        {"in/path.mi" + noLink, 3, {"in/path.mi:1:", "is refused"}},
        {"in/path.mi" + confined, 3, {"in/path.mi:1:", "(--read-only-under)"}},
        {"in/library.mi" + confined, 3, {"in/library.mi:1:", "(--read-only-under)"}},
        {"in/include.mi" + confined, 3, {"in/include.mi:1:", "../out/part.mi (which may not be read)"}},
        {"in/include.mi" + confined + " --read-only-under out", 0, {}},
        {"in/symbolic.mi" + confined, 3, {"in/symbolic.mi:1:", "(which may not be read)"}},
        {"in/data.mi" + confined, 3, {"in/data.mi:1:", "which may not be read"}},
        {"in/texture.mi" + confined, 3, {"in/texture.mi:1:", "texture \"t\"", "only files below \"in\""}},
        {"in/texture.mi --check" + confined, 3, {"in/texture.mi:1:"}},
        {"in/film.mi" + confined, 3, {"in/film.mi:1:", "may name other files"}},
        {"in/profile.mi" + confined, 3, {"in/profile.mi:1:", "light profile \"p\""}},
        {"in/texture.mi" + confined + "x", 2, {"--read-only-under"}},
    });
}

TEST_F(Confinement, RefusesToWriteElsewhere) {
    card("plain", "");
    std::string own = grayCard;
    own.insert(own.find("datatype \"z\""), "filename \"../in/own.tif\" filetype \"tif\" ");
    scene("in/own.mi", own + renderIt);
    expectCalls({
        {"in/plain.mi --write-only-under out -o out/a.exr --png out/a.png", 0, {}},
        {"in/plain.mi --write-only-under out", 4, {"\"plain.exr\"", "(--write-only-under)"}},
        {"in/plain.mi --write-only-under out -o /dev/null", 4, {"\"/dev/null\""}},
        {"in/own.mi --write-only-under out -o out/b.exr --file-dir out", 4, {"own.tif\", a file that"}},
    });
    EXPECT_FALSE(exists("plain.exr") || exists("in/own.tif") || exists("out/b.exr"));
}

TEST_F(Confinement, StopsAtLimits) {
    card("plain", "");
    const std::string slow = "in/plain.mi -o a.exr --size 1024x512 --samples 6 6 ";
    expectCalls({
        {slow + "--limit-time 0.2", 6, {"the limit of 0.2 seconds (--limit-time) is reached"}},
        {slow + "--limit-rays 1000", 6, {"(--limit-rays)"}},
        {slow + "--limit-memory 10", 6, {"(--limit-memory)"}},
        {slow + "--limit-time 0.2 --checkpoint 60", 5, {"(--limit-time)", "this goes on with it"}},
        {"in/plain.mi -o b.exr --limit-time 600 --limit-rays 100000 --limit-memory 16000", 0, {}},
    });
    EXPECT_FALSE(exists("a.exr"));
}

} // namespace

} // namespace orca::image::test
