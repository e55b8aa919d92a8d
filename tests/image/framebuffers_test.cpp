// SPDX-License-Identifier: Apache-2.0
#include "pictures.h"

#include "image/framebuffers.h"

namespace orca::image::test {

namespace {

struct CameraBuffers : ::testing::Test {
    scene::FramebufferDefinition& statement(const std::string& name, const std::string& datatype) {
        return camera.framebuffers.emplace_back(definition(name, datatype));
    }
    scene::CameraElement camera;
    scene::OptionsElement options;
    QuietMessages log;
};

std::size_t indexOf(const FramebufferSet& set, const char* name) {
    std::size_t index = 0;
    return set.get_index(name, index) ? index : 0;
}

TEST_F(CameraBuffers, AreNumberedFromOneInStatementOrderThenOldStyleThenImplied) {
    statement("main", "rgba_fp").primary = true;
    statement("p_diffuse", "rgba_fp");
    statement("depth", "z").user = true;
    options.framebuffers.push_back({3, "s_fp", {}, {}});
    camera.outputs.push_back({{{"n", {}}}, "exr", "n.exr", {}, {}});
    const FramebufferSet set(camera, options, log);

    EXPECT_EQ(indexOf(set, "main"), 1u);
    EXPECT_EQ(indexOf(set, "p_diffuse"), 2u);
    EXPECT_EQ(indexOf(set, "depth"), 3u);
    EXPECT_EQ(indexOf(set, "fb3"), 4u);
    EXPECT_EQ(indexOf(set, "n"), 5u);
    std::size_t index = 77;
    EXPECT_FALSE(set.get_index("P_DIFFUSE", index));
    EXPECT_FALSE(set.get_index(nullptr, index));
    EXPECT_FALSE(set.get_index("", index)); // the scratch buffer has no name
    EXPECT_EQ(index, 77u);

    const char* name = nullptr;
    ASSERT_TRUE(set.get_buffername(0, name));
    EXPECT_STREQ(name, "main");
    EXPECT_FALSE(set.get_buffername(5, name));
    EXPECT_EQ(set.buffers()[0].components, 4);
    EXPECT_EQ(set.wordsPerSample(), 4 + 4 + 4 + 1 + 1 + 3);
    EXPECT_EQ(set.buffers()[5].sampleOffset, 14);
}

TEST_F(CameraBuffers, KnowWhoFillsThem) {
    statement("beauty", "rgba_fp").primary = true;
    statement("pass", "rgba_h");
    statement("scalarPass", "s_fp");
    statement("z", "z");
    statement("userDepth", "z").user = true;
    statement("n", "n");
    statement("m", "m");
    statement("label", "tag").filtering = true;
    statement("coverage", "coverage");
    const FramebufferSet set(camera, options, log);
    using Source = BuiltinSource;
    const std::tuple<bool, bool, Source> expected[] = {
        {false, true, Source::Color},   {true, true, Source::None},    {true, true, Source::None},
        {false, false, Source::Depth},  {true, false, Source::None},   {false, false, Source::Normal},
        {false, false, Source::Motion}, {false, false, Source::Label}, {false, true, Source::Coverage}};
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        const Buffer& buffer = set.buffers()[i + 1];
        EXPECT_EQ(std::tuple(buffer.user, buffer.filtering, buffer.source), expected[i]) << buffer.name;
    }
    EXPECT_NE(log.text().find("labels in frame buffer \"label\" are not filtered"), std::string::npos);
}

TEST_F(CameraBuffers, HaveOnePrimary) {
    statement("pass", "rgba_fp").user = true;
    statement("depth", "z");
    statement("picture", "rgba");
    {
        const FramebufferSet set(camera, options, log);
        EXPECT_EQ(set.primaryIndex(), 3); // the first colour that is no user buffer
        EXPECT_FALSE(set.buffers()[3].user);
    }
    camera.framebuffers.pop_back();
    {
        const FramebufferSet set(camera, options, log);
        EXPECT_EQ(set.primaryIndex(), 3); // made up
        EXPECT_TRUE(set.buffers()[3].hidden);
        EXPECT_EQ(set.buffers()[1].user, true);
    }
    EXPECT_EQ(log.text(), "");
    statement("one", "rgba_fp").primary = true;
    statement("two", "rgba_fp").primary = true;
    statement("deep", "z").primary = true;
    const FramebufferSet set(camera, options, log);
    EXPECT_EQ(set.primaryIndex(), 3);
    EXPECT_NE(log.text().find("\"two\" is marked primary like \"one\""), std::string::npos);
    EXPECT_NE(log.text().find("the primary buffer must be a colour"), std::string::npos);
}

TEST_F(CameraBuffers, OfUnknownTypesAreErrorsThatNameTheStatement) {
    statement("odd", "vta").location = {"shot.mi", 12, 5};
    const FramebufferSet set(camera, options, log);
    EXPECT_EQ(indexOf(set, "odd"), 0u);
    EXPECT_EQ(log.count(LogLevel::Error), 1);
    EXPECT_NE(log.text().find("shot.mi:12:5"), std::string::npos);
    EXPECT_NE(log.text().find("\"vta\""), std::string::npos);
}

TEST_F(CameraBuffers, OutputStatementsFindTheirBuffers) {
    statement("main", "rgba_fp").primary = true;
    statement("depth", "z");
    camera.outputs.push_back({{{"rgb_16", true}}, "png", "a.png", {}, {}});
    camera.outputs.push_back({{{"z", true}}, "exr", "z.exr", {}, {}});
    camera.outputs.push_back({{{"main", {}}}, "tif", "b.tif", {}, {}});
    camera.outputs.push_back({{{"nonsense", {}}}, "tif", "c.tif", {}, {}});
    const FramebufferSet set(camera, options, log);
    ASSERT_EQ(set.buffers().size(), 3u); // no new buffer: both types are there
    const Buffer &main = set.buffers()[1], &depth = set.buffers()[2];
    ASSERT_EQ(main.outputs.size(), 2u);
    EXPECT_EQ(main.outputs[0].type, miIMG_TYPE_RGB_16);
    EXPECT_EQ(main.outputs[1].type, miIMG_TYPE_RGBA_FP);
    ASSERT_EQ(depth.outputs.size(), 1u);
    EXPECT_TRUE(depth.filtering); // "+z"
    EXPECT_EQ(log.count(LogLevel::Error), 1);
    EXPECT_NE(log.text().find("\"nonsense\""), std::string::npos);
}

TEST_F(CameraBuffers, AreFixedForShadersWhileTheirOwnCollectionsAreNot) {
    statement("main", "rgba_fp").primary = true;
    FramebufferSet fixed(camera, options, log);
    EXPECT_FALSE(fixed.remove("main"));
    EXPECT_FALSE(fixed.set("main", "filename", "x.exr"));
    fixed.reset();
    EXPECT_EQ(indexOf(fixed, "main"), 1u);

    FramebufferSet own(log);
    EXPECT_FALSE(own.set("a", "filename", "a.exr")); // no such buffer yet
    EXPECT_FALSE(own.set("a", "datatype", "vts"));
    ASSERT_TRUE(own.set("a", "datatype", "rgba_fp"));
    ASSERT_TRUE(own.set("b", "datatype", "z"));
    EXPECT_TRUE(own.set("b", "user", true));
    const char* text = nullptr;
    ASSERT_TRUE(own.get("b", "datatype", text));
    EXPECT_STREQ(text, "z");
    bool flag = true;
    ASSERT_TRUE(own.get("b", "filtering", flag));
    EXPECT_FALSE(flag);
    EXPECT_FALSE(own.get("b", "datatype", flag)); // not of that kind
    EXPECT_TRUE(own.remove("a"));
    EXPECT_EQ(indexOf(own, "b"), 1u);
    own.reset();
    EXPECT_EQ(indexOf(own, "b"), 0u);
}

} // namespace

} // namespace orca::image::test
