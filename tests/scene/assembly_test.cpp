// SPDX-License-Identifier: Apache-2.0
#include "scene_fixture.h"

#include "scene/elements/elements.h"

namespace orca::scene {
namespace {

using Assemblies = SceneFiles;

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
    folder.write("chair.mi", chair);
    SceneText text("");
    folder.write("scene.mi", "object \"seat\" visible on group end group end object\n"
                             "assembly \"chair\" box -1 -1 -1 1 1 1 file \"chair.mi\" end assembly\n"
                             "instance \"chair_inst\" \"chair\" end instance\n"
                             "instgroup \"world\" \"chair_inst\" end instgroup\n");
    EXPECT_TRUE(read(text, "scene.mi")) << text.errors();
    EXPECT_EQ(text.errors() + text.warnings(), "");
    const auto* const assembly = text.find<GroupElement>("chair");
    ASSERT_NE(assembly, nullptr);
    EXPECT_EQ(assembly->members, std::vector<miTag>{text.tag("chair::parts_inst")});
    EXPECT_EQ(text.find<GroupElement>("chair::parts")->members,
              std::vector<miTag>{text.tag("chair::seat_inst")});
    EXPECT_NE(text.tag("seat"), text.tag("chair::seat")); // names of the file stay its own
}

TEST_F(Assemblies, ThatCannotBeReadAreNamedAndStayEmpty) {
    folder.write("rootless.mi", "object \"seat\" visible on group end group end object\n");
    folder.write("itself.mi", "assembly \"inner\" file \"itself.mi\" end assembly\n");
    folder.write("torn.mi", "namespace \"n\"\n");
    SceneText text("");
    folder.write("scene.mi", "assembly \"gone\" file \"gone.mi\" end assembly\n"
                             "assembly \"bare\" end assembly\n"
                             "assembly \"rootless\" file \"rootless.mi\" end assembly\n"
                             "assembly \"torn\" file \"torn.mi\" end assembly\n"
                             "assembly \"itself\" file \"itself.mi\" end assembly\n"
                             "object \"after\" visible on group end group end object\n");
    EXPECT_FALSE(read(text, "scene.mi"));
    const std::string errors = text.errors();
    for (const char* part :
         {"scene.mi:1:", "gone.mi\"; tried", "\"bare\" names no file", "names no root group",
          "has no \"end namespace\"", "lie inside each other more than"})
        EXPECT_NE(errors.find(part), std::string::npos) << part << errors;
    EXPECT_NE(text.tag("after"), miNULLTAG);
    EXPECT_TRUE(text.find<GroupElement>("gone")->members.empty());
}

} // namespace
} // namespace orca::scene
