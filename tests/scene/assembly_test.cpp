// SPDX-License-Identifier: Apache-2.0
#include "scene_fixture.h"

#include "scene/elements/elements.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace orca::scene {
namespace {

class Assemblies : public ::testing::Test {
protected:
    void SetUp() override {
        directory = std::filesystem::temp_directory_path() / ("orca-assembly-" + std::to_string(::getpid()));
        std::filesystem::create_directories(directory);
    }
    void TearDown() override { std::filesystem::remove_all(directory); }
    void write(const char* name, const std::string& text) { std::ofstream(directory / name) << text; }
    bool read(SceneText& text, const std::string& scene) {
        write("scene.mi", scene);
        return text.scene.parseFile((directory / "scene.mi").string(), {}, text.callbacks);
    }
    std::filesystem::path directory;
};

constexpr const char* chair =
    "object \"seat\" visible on group end group end object\n"
    "instance \"seat_inst\" \"seat\" end instance\n"
    "camera \"cam\" end camera instance \"cam_inst\" \"cam\" end instance\n"
    "light \"lamp\" origin 0 0 0 end light instance \"lamp_inst\" \"lamp\" end instance\n"
    "instgroup \"parts\" \"lamp_inst\" \"seat_inst\" end instgroup\n"
    "instance \"parts_inst\" \"parts\" end instance\n"
    "instgroup \"all\" \"cam_inst\" \"parts_inst\" end instgroup\n"
    "root \"all\"\n";

TEST_F(Assemblies, BringTheObjectsOfTheirFileUnderTheirOwnName) {
    write("chair.mi", chair);
    SceneText text("");
    EXPECT_TRUE(read(text, "object \"seat\" visible on group end group end object\n"
                           "assembly \"chair\" box -1 -1 -1 1 1 1 file \"chair.mi\" end assembly\n"
                           "instance \"chair_inst\" \"chair\" end instance\n"
                           "instgroup \"world\" \"chair_inst\" end instgroup\n"))
        << text.errors();
    EXPECT_EQ(text.errors() + text.warnings(), "");
    const auto* const assembly = text.find<GroupElement>("chair");
    ASSERT_NE(assembly, nullptr);
    EXPECT_EQ(assembly->members, std::vector<miTag>{text.tag("chair::parts_inst")});
    EXPECT_EQ(text.find<GroupElement>("chair::parts")->members,
              std::vector<miTag>{text.tag("chair::seat_inst")});
    EXPECT_NE(text.tag("seat"), text.tag("chair::seat")); // names of the file stay its own
}

TEST_F(Assemblies, ThatCannotBeReadAreNamedAndStayEmpty) {
    write("rootless.mi", "object \"seat\" visible on group end group end object\n");
    write("itself.mi", "assembly \"inner\" file \"itself.mi\" end assembly\n");
    write("torn.mi", "namespace \"n\"\n");
    SceneText text("");
    EXPECT_FALSE(read(text, "assembly \"gone\" file \"gone.mi\" end assembly\n"
                            "assembly \"bare\" end assembly\n"
                            "assembly \"rootless\" file \"rootless.mi\" end assembly\n"
                            "assembly \"torn\" file \"torn.mi\" end assembly\n"
                            "assembly \"itself\" file \"itself.mi\" end assembly\n"
                            "object \"after\" visible on group end group end object\n"));
    const std::string errors = text.errors();
    EXPECT_NE(errors.find("scene.mi:1:"), std::string::npos) << errors;
    EXPECT_NE(errors.find("gone.mi\"; tried"), std::string::npos) << errors;
    EXPECT_NE(errors.find("\"bare\" names no file"), std::string::npos) << errors;
    EXPECT_NE(errors.find("names no root group"), std::string::npos) << errors;
    EXPECT_NE(errors.find("has no \"end namespace\""), std::string::npos) << errors;
    EXPECT_NE(errors.find("lie inside each other more than"), std::string::npos) << errors;
    EXPECT_NE(text.tag("after"), miNULLTAG);
    EXPECT_TRUE(text.find<GroupElement>("gone")->members.empty());
}

} // namespace
} // namespace orca::scene
