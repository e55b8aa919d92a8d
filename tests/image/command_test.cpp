// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <sstream>

/// The orca-render command as users and scripts meet it: arguments, exit codes, messages, files.
namespace orca::image::test {

namespace {

TEST_F(Command, TellsWrongUsageWithWhatAndWhatToDo) {
    expectCalls({
        {"", 2, {"a scene file is needed"}},
        {"--bogus a.mi", 2, {"there is no option \"--bogus\""}},
        {"a.mi --sampels 0 2", 2, {"did you mean \"--samples\"?"}},
        {"a.mi -o a.png", 2, {"end it in .exr, and add --png"}},
        {"a.mi --size 12", 2, {"\"12\" is not a size such as 1920x1080"}},
        {"a.mi --size 0x10", 2, {"between 1x1 and 65536x65536"}},
        {"a.mi --window 5 5 1 1", 2, {"the window is empty"}},
        {"a.mi --window 5 5", 2, {"--window"}},
        {"a.mi --samples 3 1", 2, {"the lower number first"}},
        {"a.mi --samples 0 9", 2, {"from -6 to 8, not 9"}},
        {"a.mi --frames 10-1", 2, {"a range such as 1-100x2"}},
        {"a.mi --passes difuse", 2, {"did you mean \"diffuse\"?"}},
        {"a.mi --filter sinc", 2, {"sinc"}},
        {"a.mi --exr-compression lzw", 2, {"\"lzw\" is not one of none, rle"}},
        {"a.mi --exr-compression zip:3", 2, {"only dwaa has a level"}},
        {"a.mi --exr-compression dwaa --single-part", 2, {"would round depths"}},
        {"a.mi --exr-type diffuse=double", 2, {"\"diffuse=double\" is not half, float"}},
        {"a.mi --denoise --part 1/2x1", 2, {"noise is filtered out of whole pictures"}},
        {"a.mi --exr-tiles 64 --part 1/2x1", 2, {"orca-merge joins files of rows only"}},
        {"a.mi -t many", 2, {"many"}},
        {"a.mi -v loud", 2, {"a level from 0"}},
        {"shot.##.mi", 2, {"give the frames with --frames"}},
        {"--help", 0, {}},
        {"--version", 0, {}},
        {"--list-passes", 0, {"beautyNoReflectionRefraction"}},
    });
    EXPECT_EQ(directory.fileCount(), 0u);
}

TEST_F(Command, TellsSceneErrorsWithTheirPlaceAndRendersOnlyWhenAsked) {
    scene("bad.mi", grayCard + std::string("instance \"x\" \"nothing\" end instance\n") + renderIt);
    scene("lib.mi", "link \"nowhere.so\"\n" + (grayCard + std::string(renderIt)));
    scene("silent.mi", grayCard);
    scene("car.obj", "v 0 0 0\n");
    scene("a.mi", grayCard + std::string(renderIt));
    expectCalls(
        {{"missing.mi", 3, {"missing.mi"}},
         {"bad.mi", 3, {"bad.mi:18:"}},
         {"bad.mi --render-anyway -o anyway.exr", 3, {}},
         {"a.mi --exr-type mein=half", 4, {"the picture has no layer \"mein\", did you mean \"main\"?"}},
         {"lib.mi -L some/where", 3, {"nowhere.so", "some/where"}},
         {"silent.mi", 3, {"no render statement"}},
         {"car.obj", 3, {"a model in another format"}},
         {"a.mi -o /proc/orca.exr", 4, {"\"/proc/orca.exr\""}},
         {"a.mi -v 5 -o missing/a.exr", 4, {"\"missing\" does not exist; create it or choose another"}}});
    EXPECT_FALSE(says("frame 1:")) << output;
    EXPECT_TRUE(exists("anyway.exr") && !exists("bad.exr"));
}

TEST_F(Command, WritesListsAndPrintsThePicture) {
    scene("a.mi", grayCard + std::string(renderIt));
    expectCalls(
        {{"a --png a.png --stats-json s.json -t 2 -v 5", 0, {"pins and memory are balanced"}}}); // a.mi
    EXPECT_TRUE(exists("a.exr") && exists("a.png"));
    EXPECT_EQ(directory.fileCount(), 4u);
    EXPECT_NE(content("s.json").find("\"eye\":128"), std::string::npos) << content("s.json");

    expectCalls(
        {{"a.mi --list-outputs -o shot.####.exr", 0, {"shot.0001.exr\n", "beauty", "depth.Z"}},
         {"a.mi --pixel 8,4", 0, {"depth                          4\n"}},
         {"a.mi --pixel 16,0", 2, {"--pixel 16,0 is outside the picture: the picture has 16x8 pixels"}},
         {"a.mi --window 0 8 3 9", 2, {"is outside the picture"}},
         {"a.mi --window 8 0 20 9 -o cut.exr", 0, {"is cut"}},
         {"a.mi --png-layers new/folder.#", 0, {}},
         {"a.mi --size 4x4 -o oblong.exr", 0, {"a pixel is 2 times as wide as high; 8x4 fits"}},
         {"a.mi --size 4x2 --window 1 0 2 0 -o w.exr", 0, {}}});
    EXPECT_FALSE(says("has another shape")) << output;
    EXPECT_TRUE(exists("new/folder.1/main.png"));
    const auto input = OIIO::ImageInput::open(directory.file("w.exr"));
    ASSERT_TRUE(input);
    EXPECT_EQ(input->spec().full_width, 4);
    EXPECT_EQ(input->spec().width, 2);
    EXPECT_EQ(input->spec().x, 1);
    EXPECT_EQ(input->spec().y, 1); // from the top
}

TEST_F(Command, RendersFrameRanges) {
    for (const int frame : {1, 2, 3})
        scene(fmt::format("s.{:02}.mi", frame), grayCard + std::string(renderIt));
    expectCalls({{"s.##.mi --frames 1-3x2 -o s.###.exr", 0, {}}});
    EXPECT_TRUE(exists("s.001.exr") && !exists("s.002.exr") && exists("s.003.exr"));
    scene("two.mi", grayCard + std::string(renderIt) + "incremental camera \"cam\" frame 5 end camera\n" +
                        renderIt + "incremental camera \"cam\" frame 0 end camera\n" + renderIt);
    expectCalls({{"two.mi --frames 0,5 -o t.####.exr", 0, {}},
                 {"two.mi -o u.exr", 0, {"put ####"}},
                 {"two.mi --frames 9", 2, {"--frames asks for 9, but the scene has 0-1,5"}},
                 {"two.mi --frames 5-8", 0, {"also asks for 6-8, but the scene has 0-1,5"}}});
    EXPECT_TRUE(exists("t.0000.exr") && exists("t.0005.exr") && !exists("t.0001.exr"));
    EXPECT_TRUE(exists("u.exr") && exists("u.0005.exr")); // neither picture is lost
}

TEST_F(Command, LosesOneFrameToAShaderThatEndsTheProcess) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer reports the fault itself, and ends the command";
#endif
    const std::pair<const char*, const char*> cases[] = {
        {"fault", "(SIGSEGV)"},        {"stack", "its stack is full"}, {"abort", "(SIGABRT)"},
        {"exit", "by calling exit()"}, {"fatal", "out of paint"},      {"_exit", "with exit status 0"},
        {"kill", "memory runs out"}};
    for (const auto& [how, message] : cases) {
        SCOPED_TRACE(how);
        const std::string card =
            fmt::format("link \"orca-test-shaders.so\"\n"
                        "declare shader color \"testEnds\" ( string \"how\" ) version 1 end declare\n"
                        "material \"m\" opaque \"testEnds\" ( \"how\" \"{}\" ) end material\n",
                        how) +
            grayCard + "incremental instance \"card_inst\" material \"m\" end instance\n";
        const auto from = [](int frame) {
            return fmt::format("incremental camera \"cam\" frame {} end camera\n{}", frame, renderIt);
        };
        scene("all.mi", card + from(1) + from(2) + from(3));
        for (const int frame : {1, 2, 3}) scene(fmt::format("each.{}.mi", frame), card + from(frame));
        // Frames of one scene, and once of a scene each.
        const bool isEach = how == std::string("fault");
        EXPECT_EQ(run(std::string(isEach ? "each.#.mi --frames 1-3" : "all.mi") +
                      " --stats-json s.json -o f.#.exr"),
                  1);
        EXPECT_TRUE(says(message) && says("frame 2: ") && says("frame, not written: 2")) << output;
        const bool isNamed = how[0] != '_' && how[0] != 'k';
        EXPECT_EQ(says("\"testEnds\"") && says("called as material for instance \"card_inst\""), isNamed)
            << output;
        EXPECT_NE(content("s.json").find("\"frame\":2,"), std::string::npos);
        for (const int frame : {1, 2, 3}) {
            const std::string file = directory.file(fmt::format("f.{}.exr", frame));
            EXPECT_EQ(OIIO::ImageInput::open(file) != nullptr, frame != 2);
            std::filesystem::remove(file);
        }
    }
}

constexpr const char* leaningSun = "incremental light \"sun\" direction -0.3 0 -1 end light\n";

TEST_F(Command, SetsPassesUpOnASceneThatKnowsNone) {
    // Just left of the front card's edge the sun does not reach the card behind it.
    scene("lit.mi", litCards + leaningSun + renderIt);
    const std::string passes = "--passes beauty,diffuse,diffuseNoShadow,shadow,cameraDepth,coverage,label";
    ASSERT_EQ(run("lit.mi " + passes + " --pixel 7,4"), 0) << output;
    const std::vector<double> main = layerValues(output, "main"), beauty = layerValues(output, "beauty"),
                              diffuse = layerValues(output, "diffuse"),
                              shadow = layerValues(output, "shadow"),
                              unshadowed = layerValues(output, "diffuseNoShadow");
    ASSERT_TRUE(main.size() == 4 && beauty.size() == 4 && diffuse.size() == 4 && shadow.size() == 4 &&
                unshadowed.size() == 4)
        << output;
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(beauty[c], main[c], 1e-4 * main[c]);
        EXPECT_NEAR(diffuse[c] + shadow[c], unshadowed[c], 1e-5);
    }
    EXPECT_GT(unshadowed[0], 0.1);
    EXPECT_GT(shadow[0], 0.1);
    ASSERT_EQ(layerValues(output, "cameraDepth").size(), 1u);
    EXPECT_GT(layerValues(output, "cameraDepth")[0], 4.0); // from the eye, not along the view
    EXPECT_LT(layerValues(output, "cameraDepth")[0], 4.2);
    EXPECT_EQ(layerValues(output, "label"), std::vector<double>{7});

    // Alpha of a pass that nothing writes is coverage: passes add up, also with the scene's own base state.
    const std::string state = "incremental options \"opt\" state \"velaBaseState\" ( ) end options\n";
    scene("own.mi",
          "link \"velabase.so\"\n$include <velabase.mi>\n" + litCards + state + leaningSun + renderIt);
    for (const std::string file : {"lit.mi", "own.mi"}) {
        ASSERT_EQ(run(file + " --passes specular --pixel 7,4"), 0) << output;
        EXPECT_EQ(layerValues(output, "specular"), (std::vector<double>{0, 0, 0, 1})) << output;
    }

    ASSERT_EQ(run("lit.mi --passes all -v 4"), 0) << output;
    EXPECT_TRUE(says("got orcaVelaFastShadow")) << output;
    ASSERT_EQ(run("lit.mi --passes utility --pixel 7,4"), 0) << output;
    EXPECT_EQ(layerValues(output, "normalWorld"), (std::vector<double>{0, 0, 1}));
    EXPECT_EQ(layerValues(output, "coverage"), std::vector<double>{1});
    EXPECT_FALSE(says("warning")) << output;
    ASSERT_EQ(run("lit.mi --passes all --list-outputs"), 0);
    EXPECT_TRUE(says("beautyNoReflectionRefraction.R") && says("lightSum.Y")) << output;
}

TEST_F(Command, LeavesAloneWhatASceneBrings) {
    // A camera's data, a material's own shadow shader, and masks: bit 0 is the diffuse pass, bit 1 the
    // coverage.
    scene("own.mi", litCards + leaningSun + R"(
incremental material "red_mtl" shadow "orcaVelaShadow" ( "transparency" 1 1 1 1 ) end material
data "mask" "orcaPassMask" ( "mask" "3" ) end data
data "note" "orcaGatherSettings" ( ) end data
incremental camera "cam" data "note" end camera
incremental instance "card_inst" data "mask" end instance
)" + renderIt);
    ASSERT_EQ(run("own.mi --passes diffuse,diffuseNoShadow,coverage --pixel 7,4"), 0) << output;
    EXPECT_GT(layerValues(output, "diffuse").at(0), 0.1);
    EXPECT_EQ(layerValues(output, "diffuse"), layerValues(output, "diffuseNoShadow"));
    EXPECT_EQ(layerValues(output, "coverage").at(0), 0.0);
    ASSERT_EQ(run("own.mi --passes diffuse --dump-passes"), 0);
    EXPECT_TRUE(says("data \"note\"")) << output;
    // The name of the layered file is taken by a buffer's.
    scene("taken.mi", std::string(grayCard) +
                          "incremental camera \"cam\" framebuffer \"main\" filename "
                          "\"taken.exr\" end camera\n" +
                          renderIt);
    ASSERT_EQ(run("taken.mi"), 0) << output;
    EXPECT_TRUE(exists("taken.exr") && exists("taken.layers.exr"));
}

TEST_F(Command, GivesRoomToRaysThatItIsAskedFor) {
    scene("mirrors.mi", litCards + R"(
shader "steel" "orcaVelaPhong" ( "reflectivity" 1, "reflectionLimit" 9 )
incremental material "red_mtl" "orcaVelaShadingEngine" ( "surfaceShader" "steel" ) end material
instance "back" "card" material "red_mtl" transform .1 0 0 0 0 .1 0 0 0 0 1 0 0 0 -8 1 end instance
incremental instgroup "world" "cam_inst" "card_inst" "back" end instgroup
)" + renderIt);
    const auto reflections = [&](const std::string& depth) {
        EXPECT_EQ(run("mirrors.mi --passes beauty --trace-depth " + depth + " --stats-json s.json"), 0)
            << output;
        const std::string json = content("s.json");
        const std::size_t at = json.rfind("\"reflection\":"); // of the last line
        return at == std::string::npos ? 0 : std::atoi(json.c_str() + at + 13);
    };
    const int one = reflections("1 1");
    EXPECT_GT(one, 0);
    EXPECT_GT(reflections("3 3"), one); // a sum that is not given does not stop them
}

TEST_F(Command, DumpsWhatPassesMakesReadyToBePasted) {
    const std::string passes = "--passes diffuse,beauty,shadow,specular,coverage,normalWorld";
    // The state shaders that the scene brings. Passes of an additive base state have the alpha of coverage.
    for (const std::string states :
         {"", "incremental options \"opt\" state \"velaBaseState\" ( \"filterBase\" 2 ) end options\n",
          "shader \"base\" \"velaBaseState\" ( )\nincremental options \"opt\" state = \"base\" end options\n",
          "shader \"states\" \"orcaTraversal\" ( ) \"velaBaseState\" ( )\n"
          "incremental options \"opt\" state = \"states\" \"orcaTraversal\" ( ) end options\n"}) {
        const std::string cards = "link \"velabase.so\"\n$include <velabase.mi>\n" + litCards + states;
        scene("lit.mi", cards + renderIt);
        ASSERT_EQ(run("lit.mi --pixel 7,4 " + passes), 0);
        const std::string layers = output;
        EXPECT_EQ(layerValues(output, "specular").at(3), 1.0) << output;
        ASSERT_EQ(run("lit.mi --dump-passes " + passes), 0);
        scene("pasted.mi", cards + output + renderIt);
        ASSERT_EQ(run("pasted.mi --pixel 7,4"), 0);
        EXPECT_EQ(output, layers);
    }
    EXPECT_EQ(run("lit.mi --dump-passes"), 2);
}

TEST_F(Command, TakesPassesByTheirNamesInBlocksAndLinks) {
    const auto named = [](const std::string& type, const std::string& link) {
        return litCards + "link \"velabase.so\"\n$include <velabase.mi>\n" + R"(
data "passes" "orcaNamedPasses" ( "frameBufferInfo" [ { "passType" "shadow" },
    { "passType" ")" +
               type + R"(", "frameBufferName" "mine" }, { "passType" "beauty", "shadowed" on } ] )
end data
incremental camera "cam"
    framebuffer "shadow" datatype "rgba_fp" user on framebuffer "mine" datatype "rgba_fp" user on
    framebuffer "beauty" datatype "rgba_fp" user on lens "orcaFrameBufferLens" ( ) data "passes"
end camera
incremental options "opt" state "velaBaseState" ( ) "orcaFrameBufferState" ( ) end options
data "links" "orcaPassLinks" ( )" +
               link + R"( ) end data
incremental instance "card_inst" data "links" end instance
incremental instance "front" data "links" end instance
)" + renderIt;
    };
    const std::vector<double> none(4, 0.0), red{0.6, 0.2, 0.1, 1.0};
    const struct {
        const char* links;
        bool inMine, inBeauty;
    } cases[] = {{"", true, true},
                 {"\"exclude\" [ \"diffuse\", \"cameraDepth\" ]", false, true},
                 {"\"only\" [ \"mine\" ]", true, false},
                 {"\"only\" [ \"shadow\" ], \"include\" [ \"beauty\" ]", false, true}};
    for (const auto& test : cases) {
        scene("named.mi", named("diffuse", test.links));
        ASSERT_EQ(run("named.mi --pixel 9,4"), 0) << output;
        EXPECT_FALSE(says("warning")) << output;
        EXPECT_EQ(layerValues(output, "mine"), test.inMine ? red : none) << test.links;
        EXPECT_EQ(layerValues(output, "beauty"), test.inBeauty ? red : none) << test.links;
    }
    scene("wrong.mi", named("difuse", ""));
    scene("lost.mi", named("diffuse", "\"only\" [ \"min\" ]"));
    expectCalls({{"wrong.mi", 3, {"frameBufferInfo 1", "did you mean \"diffuse\"?"}},
                 {"lost.mi", 3, {"did you mean \"mine\"?"}}});
}

TEST_F(Command, ChecksASceneWithItsMasksAndRendersNothing) {
    const auto masked = [](const std::string& mask) {
        return litCards + "data \"mask\" \"orcaPassMask\" ( \"mask\" \"" + mask +
               "\" ) end data\nincremental instance \"front\" data \"mask\" end instance\n" + renderIt;
    };
    const std::pair<const char*, const char*> cases[] = {{"XYZ", "\"X\", which is no hexadecimal digit"},
                                                         {"7", "has 1 digit, and the 5 passes need 2"},
                                                         {"00", "from all passes"},
                                                         {"07", ""},
                                                         {"", ""}};
    for (const auto& [mask, warning] : cases) {
        scene("masked.mi", masked(mask));
        EXPECT_EQ(run("masked.mi --check --passes beauty,diffuse,ambient,specular,coverage"), 0) << output;
        EXPECT_TRUE(*warning ? says(warning) : output.empty()) << mask << ": " << output;
    }
    scene("bad.mi", masked("F") + "color texture \"gone\" \"nowhere.tif\"\n");
    EXPECT_EQ(run("bad.mi --check"), 3);
    EXPECT_TRUE(says("nowhere.tif")) << output;
    EXPECT_EQ(directory.fileCount(), 2u);
}

TEST_F(Command, SaysOnceWhatAShaderSaysForEverySampleAndWhatToDo) {
    scene("lit.mi", "link \"orca.so\"\n$include <orca.mi>\n" + std::string(grayCard) + R"(
shader "red" "orcaVelaLambert" ( "color" 0.6 0.2 0.1 1 )
material "red_mtl" "orcaVelaShadingEngine" ( "surfaceShader" "red" ) end material
incremental instance "card_inst" material "red_mtl" end instance
)" + renderIt);
    expectCalls({{"lit.mi",
                  1,
                  {"vela_shadingengine(): Internal state error.", "more times)",
                   "add state \"velaBaseState\" ( )"}}});
    EXPECT_LT(std::count(output.begin(), output.end(), '\n'), 6) << output;
}

TEST_F(Command, LightsAScenesFirstPictures) {
    const std::string card(grayCard);
    const auto lambert = [&](const std::string& parameters) {
        return "link \"orca.so\"\nlink \"velabase.so\"\n$include <orca.mi>\n$include <velabase.mi>\n" + card +
               "incremental options \"opt\" state \"velaBaseState\" ( ) end options\n"
               "shader \"red\" \"orcaVelaLambert\" ( \"color\" 0.5 0.5 0.5 1, \"diffuse\" 1" +
               parameters +
               " )\nmaterial \"red_mtl\" \"orcaVelaShadingEngine\" ( \"surfaceShader\" \"red\" ) end "
               "material\n"
               "incremental instance \"card_inst\" material \"red_mtl\" end instance\n" +
               renderIt;
    };
    scene("dark.mi", lambert(""));
    scene("glows.mi", lambert(", \"incandescence\" 0.25 0 0 1"));
    const std::string said = "nothing in the scene gives light", lit = "0.5 0.5 0.5 1\n";
    expectCalls({{"dark.mi --pixel 8,4", 0, {said, lit}},
                 {"glows.mi --pixel 8,4 --default-light", 0, {"0.75 0.5 0.5 1\n"}}});
    expectCalls({{"dark.mi --pixel 8,4 --no-default-light", 0, {" 0 0 0 1\n"}}});
    EXPECT_FALSE(says(said));
    expectCalls({{"glows.mi --pixel 8,4", 0, {"0.25 0 0 1\n"}}});
    EXPECT_FALSE(says(said));
}

TEST_F(Command, RefusesPassBlocksWhoseCountsAreNotThoseOfTheRecords) {
    const auto withCount = [&](const char* count) {
        std::string zeros;
        for (int type = 1; type < 35; ++type) zeros += ", 0";
        return "link \"orca.so\"\n$include <orca.mi>\ndata \"passes\" \"orcaFrameBufferData\" (\n"
               "    \"FrameBufferTypeCounts\" [ " +
               (count + zeros) +
               " ],\n    \"frameBufferInfo\" [ { \"frameBufferName\" \"main\" } ] ) end data\n" + grayCard +
               "incremental camera \"cam\" data \"passes\" end camera\n" + renderIt;
    };
    for (const char* count : {"0", "1", "2"}) scene(count + std::string(".mi"), withCount(count));
    expectCalls({{"0.mi", 3, {"0.mi:3:", "but \"frameBufferInfo\" has 1 record;"}},
                 {"1.mi", 0, {}},
                 {"2.mi", 3, {"2.mi:3:", "but \"frameBufferInfo\" has 1 record;"}}});
}

TEST_F(Command, StopsWhenAskedAndLeavesNoHalfFile) {
    scene("a.mi", grayCard + std::string(renderIt));
    // The signal comes when the first progress line shows that tiles are being rendered.
    scene("stop.sh",
          fmt::format(
              ": >log; '{}' a.mi --size 300x300 --samples 6 6 --tile-size 8 -v 5 $* >log 2>&1 & render=$!\n"
              "until grep -q 'frame 1: .*elapsed' log || ! kill -0 $render; do sleep 0.05; done\n"
              "kill -TERM $render; wait $render; code=$?; cat log; exit $code\n",
              build_paths::renderCommand));
    expectCalls({{"--version; sh stop.sh", 143, {"interrupted:"}}});
    EXPECT_EQ(directory.fileCount(), 3u); // scene, script, log
    expectCalls({{"--version; sh stop.sh --checkpoint 1000",
                  5,
                  {"this goes on with it:", "--checkpoint 1000 --resume"}},
                 {"--develop a.exr.checkpoint -o seen.exr", 0, {}}});
    EXPECT_TRUE(exists("seen.exr") && !exists("a.exr"));
}

TEST_F(Command, KeepsTheLastCheckpointWhereNoOtherFits) {
    scene("a.mi", grayCard + std::string(renderIt));
    // A limit of file sizes is what a full disk is to whoever writes.
    scene("fill.sh", fmt::format("set -- '{}' a.mi --size 400x200 --samples 3 3 --checkpoint 0.1\n"
                                 "\"$@\" -v 1 & render=$!\n"
                                 "until test -e a.exr.checkpoint || ! kill -0 $render; do sleep 0.05; done\n"
                                 "kill $render; wait $render; test $? = 5 || exit 90\n"
                                 "cp a.exr.checkpoint kept\n"
                                 "(ulimit -f 8; exec \"$@\" --resume); test $? = 4 || exit 91\n"
                                 "cmp kept a.exr.checkpoint || exit 92\n"
                                 "exec \"$@\" --resume\n",
                                 build_paths::renderCommand));
    EXPECT_EQ(run("--version; sh fill.sh"), 0) << output;
    EXPECT_TRUE(
        says("was not written: File too large; the render goes on, and the next one is tried in 0.1 s"))
        << output;
    EXPECT_TRUE(exists("a.exr") && !exists("a.exr.checkpoint"));
}

} // namespace

} // namespace orca::image::test
