// SPDX-License-Identifier: Apache-2.0
#include "scene_fixture.h"

namespace orca::scene {
namespace {

constexpr const char* prelude = R"mi(declare shader color "f" ( color "c" ) end declare
declare data "note" ( integer "n" ) end declare
declare shader boolean "s" ( ) end declare
shader "f1" "f" ( ) shader "f2" "f" ( )
data "chained" "note" ( "n" 1 )
)mi";

/// What exporters and old scenes write, each followed by all of its errors and warnings.
constexpr const char* forms = R"mi(
declare shader color "g" ( scalar "a" ) gui "g" { control "a" "A" ( "max" 2.5, "x" ; ) { { } } } version 1 end declare
declare phenomenon color "p" ( ) shader "r" "f" ( ) gui "p" ( "w" ) { "}" } root = "r" end declare
gui "alone" { group { "x" [ 1 2 ] } }
shader "later" "g" ( "a" 2 )
=> nothing
data "a" "note" ( "n" 2 ) data "b" data "chained" "note" ( "n" 3 ) data "c" 4 [ 0102 ] tag 7
data "d" 2 '0a0b' data "e" "note" ( "n" 4 ) data "a" end data
namespace "n" data "a" "note" ( "n" 1 ) end namespace
shader "later" "f" ( )
=> nothing
options "o" state [ "s" ( ), "s" ( ) ] end options
material "m" [ = "f1" "f2" ] shadow [ ] end material
shader "later" [ "f" ( ), "f" ( ) ]
=> nothing
data "text" "note" ( "n" 1 ) options "o" "several
lines" "of
text" gamma 2 end options shader "later" "f" ( ) shader "a"
 "g" ( )
=> scene.mi:4:2: "g" is not declared before this place (did you mean "f"?)
options "o" hair on filter clip gauss 3 3 samples -1 2 0 2 finalgather contrast 9 9 9 gamma 2 fancy words "and"
  diagnostic grid object 1.0 caustic filter box 3 "two" 1 2 "pair" on jitter 1
end options
shader "later" "f" ( )
=> scene.mi:1:21: options "o": "filter" has no effect: samples are filtered with their full range
=> scene.mi:1:56: options "o": 0 2 is ignored: "samples" takes 1 to 2 integers
=> scene.mi:1:60: options "o": finalgather contrast 9 9 9 is ignored: it is not known here
=> scene.mi:1:95: options "o": fancy words "and" is ignored: it is not known here
=> scene.mi:2:3: options "o": "diagnostic" has no effect: diagnostic pictures are not supported
=> scene.mi:2:51: options "o": "two" is ignored: it takes 1, 3 or 4 numbers
camera "c" output "tif" "a.tif" output "+rgba_16,z" "b.png" pass merge "rgba" read "a" "b" "f" ( ) focal 2
end camera
min version "3.14"
shader "later" "f" ( )
=> scene.mi:1:61: camera "c": "pass" has no effect: pictures are not merged from files
light "l" "f" ( ) origin 0 0 0 object "i" 4 5 end light
light "u" "f" ( ) origin 0 0 0 user 2 2 1 1 1 visible end light
shader "later" "f" ( )
=> scene.mi:1:39: "i" is not defined before this place, where the instance that emits is expected
$include "one.mi"
$include "two.mi"
shader "x" "undeclared" ( "a" 1 ) instance "i" "nothing" end instance
shader "later" "f" ( )
=> scene.mi:1:1: cannot read the included file "one.mi"; tried one.mi
=> scene.mi:2:1: cannot read the included file "two.mi"; tried two.mi
)mi";

TEST(Exports, AreReadAndSayWhatIsLeftOut) {
    for (const auto& [scene, messages] : expectedTexts(forms)) {
        SceneText text(prelude);
        ASSERT_EQ(text.errors() + text.warnings(), "");
        text.scene.parseText(scene, "scene.mi", {}, text.callbacks);
        EXPECT_EQ(text.errors() + text.warnings(), messages == "nothing\n" ? "" : messages) << scene;
        EXPECT_NE(text.tag("later"), miNULLTAG) << scene;
        const auto* options = text.find<OptionsElement>("o");
        if (options && scene.find("gamma") != std::string::npos) {
            EXPECT_EQ(options->options.gamma, 2.0f) << scene;
        }
    }
}

TEST(Exports, CountVectorsOfBumpBasesUnlessTheirScalarsSayOtherwise) {
    const struct {
        const char* code;
        int floats, bases;
    } cases[] = {{"b", 6, 1}, {"b 2", 6, 1}, {"b 4", 12, 2}, {"b 2", 12, 2}, {"b 1", 6, 1}};
    for (const auto& c : cases) {
        std::string numbers;
        for (int i = 0; i < 3 * (c.floats + 5); ++i) numbers += std::to_string(i) + ' ';
        SceneText text(std::string("object \"o\" visible group trilist vertex 3 p ") + c.code +
                       " t 2 triangle 1 [ " + numbers + "] [ 0 1 2 ] end trilist end group end object\n");
        ASSERT_EQ(text.errors(), "") << c.code;
        const VertexLayout& layout = text.find<ObjectElement>("o")->triangleLists[0].layout;
        EXPECT_EQ(layout.bumpCount, c.bases) << c.code;
        EXPECT_EQ(layout.texture, std::vector<int>{3 + c.floats}) << c.code;
    }
}

TEST(Exports, OfTheOldestFormRenderAFrame) {
    SceneText text(std::string(prelude) + R"mi(
frame 7 0.5
view
    output "rgb" "tif" "a.tif" resolution 40 30 aperture 2 focal 3 recursive on
    min samples 1 max samples 2 trace on shadow on lens off lens "f" ( )
end view
light "l" "f" ( ) origin 1 2 3 end light
object "o" visible group 0 0 -5 1 0 -5 1 1 -5 v 0 v 1 v 2 c 0 1 2 end group end object
object "unused" visible end object instance "i" "unused" end instance
end frame
frame 8 incremental light "l" origin 2 2 2 end light end frame
)mi");
    ASSERT_EQ(text.errors(), "");
    ASSERT_EQ(text.renders.size(), 2u);
    const Database& database = text.scene.database();
    const auto* group = database.find<GroupElement>(text.renders[0].group);
    ASSERT_EQ(group->members.size(), 3u);
    EXPECT_EQ(group->members, database.find<GroupElement>(text.renders[1].group)->members);
    EXPECT_EQ(database.find<InstanceElement>(group->members[2])->instance.item, text.tag("o"));
    const auto* camera = database.find<CameraElement>(
        database.find<InstanceElement>(text.renders[0].cameraInstance)->instance.item);
    EXPECT_EQ(camera->camera.frame, 8);
    EXPECT_EQ(camera->camera.focal, 3.0f);
    EXPECT_NE(camera->camera.lens, miNULLTAG);
    EXPECT_EQ(database.find<OptionsElement>(text.renders[0].options)->options.max_samples, 2);
}

using ObjectFiles = SceneFiles;
TEST_F(ObjectFiles, FillTheObjectThatNamesThem) {
    folder.write("parts/o.mi", "incremental object \"o\" group 0 0 0 1 0 0 1 1 0 v 0 v 1 v 2 c 0 1 2\n"
                               "end group end object\nrender \"a\" \"b\" \"c\"\n");
    folder.write("scene.mi",
                 "object \"o\" visible trace box -1 -1 -1 1 1 1 file \"parts/o.mi\" end object\n"
                 "object \"p\" visible file \"parts/gone.mi\" end object\ninstance \"i\" \"o\" end instance");
    SceneText text("");
    EXPECT_FALSE(read(text, "scene.mi"));
    EXPECT_NE(text.errors().find("scene.mi:2:1: cannot read the included file \"parts/gone.mi\""),
              std::string::npos)
        << text.errors();
    EXPECT_EQ(text.find<ObjectElement>("o")->triangleCount(), 1u);
    EXPECT_TRUE(text.find<ObjectElement>("o")->object.visible);
    EXPECT_EQ(text.find<InstanceElement>("i")->instance.item, text.tag("o"));
}

} // namespace
} // namespace orca::scene
