// SPDX-License-Identifier: Apache-2.0
#include "scene_fixture.h"

#include <algorithm>

namespace orca::scene {
namespace {

constexpr const char* prelude =
    R"mi(declare shader color "phong" ( color "diffuse", scalar "cosinePower", integer "mode", boolean "on",
    string "name", array light "lights", vector "bump", shader "sub" ) version 1 end declare
declare shader struct { color "outColor", scalar "outAlpha" } "ramp" ( ) end declare
declare data "note" ( integer "n" ) end declare
shader "ramp1" "ramp" ( )
light "key" "phong" ( ) origin 0 0 0 end light
instance "key_inst" "key" end instance
camera "cam" end camera
instance "cam_inst" "cam" end instance
options "opt" end options
instgroup "world" "cam_inst" "key_inst" end instgroup
)mi";

/// Scenes, each followed by all of its errors.
constexpr const char* mistakes = R"mi(
shader "s"
  "phong" ( "cosinPower" 5, "mode" 1 )
=> scene.mi:2:13: shader "s": "phong" declares no "cosinPower" (did you mean "cosinePower"?)
shader "s" "phong" ( "zzz" [ { 5 } ], "mode" 1 )
=> scene.mi:1:22: shader "s": "phong" declares no "zzz"
shader "s" "phnog" ( "mode" 5 )
=> scene.mi:1:12: "phnog" is not declared before this place (did you mean "phong"?)
material "a" "glass" ( "x" { 1 } ) shadow "glass" ( ) end material
data "d" "glass" ( "y" [ 1 ] ) tag 1 end data
=> scene.mi:1:14: "glass" is not declared before this place; is its declaration file included?
shader "s" "phong" ( "mode" 1.5, "on" on )
=> scene.mi:1:29: shader "s": "mode" is declared as integer: expected an integer, not the number 1.5
shader "s" "phong" ( "diffuse" 1 2, "on" maybe )
=> scene.mi:1:35: shader "s": "diffuse" is declared as color: expected 3 numbers, not ","
=> scene.mi:1:42: shader "s": "on" is declared as boolean: expected "on" or "off", not "maybe"
shader "s" "phong" ( "mode" 1 "on" on )
=> scene.mi:1:31: shader "s": expected "," or ")" after the value of "mode", not the string "on"
shader "s" "phong" ( "mode" 1, "mode" 2 )
=> scene.mi:1:32: shader "s": "mode" is given twice
shader "s" "phong" ( "lights" "key_inst" )
=> scene.mi:1:31: shader "s": expected "[" before the elements of an array, not the string "key_inst"
shader "s" "phong" ( "mode" 99999999999 )
=> scene.mi:1:29: shader "s": 99999999999 does not fit 32 bits, as an integer must
shader "s" "phong" ( "lights" [ "key" ] )
=> scene.mi:1:33: "key" is a light, but a light instance or a group of them is expected here: name the
     instance that places it
shader "s" "phong" ( "lights" [ "cam_inst" ] )
=> scene.mi:1:33: "cam_inst" is an instance of a camera, but a light instance or a group of them is
     expected here
instance "i" "kee" end instance
=> scene.mi:1:14: "kee" is not defined before this place, where a camera, a light, an object or an instance
     group is expected (did you mean "key"?)
shader "s" "phong" ( "diffuse" = "ramp1" )
=> scene.mi:1:34: shader "s": "diffuse" is a color, but "ramp1" gives a struct; name one member, as in
     "ramp1.outColor"
shader "s" "phong" ( "diffuse" = "ramp1.outAlpha" )
=> scene.mi:1:34: shader "s": "diffuse" is a color, but "ramp1.outAlpha" gives a scalar
shader "s" "phong" ( "diffuse" = "ramp1.out" )
=> scene.mi:1:34: shader "s": the result of "ramp1" has no member "out"; it has "outColor", "outAlpha"
data "d" "note" ( "n" = "ramp1" ) end data
=> scene.mi:1:23: data "d": parameters of this kind cannot be connected to shaders
instgroup "g" "key" end instgroup
=> scene.mi:1:15: "key" is a light, but an instance is expected here
render "world" "cam" "opt"
=> scene.mi:1:16: "cam" is a camera, but its instance is expected here
=> scene.mi:1:1: not rendered, as the scene has 1 error
render "world" "key_inst" "opt"
=> scene.mi:1:16: "key_inst" is an instance of a light, but that of a camera is expected here
=> scene.mi:1:1: not rendered, as the scene has 1 error
incremental light "kei" end light
=> scene.mi:1:19: "kei" cannot be changed, as no light of that name is defined
incremental instgroup "world" "w_inst" end instgroup
instance "w_inst" "world" end instance
incremental instgroup "world" "w_inst" end instgroup
=> scene.mi:1:31: "w_inst" is not defined before this place, where an instance is expected
=> scene.mi:3:23: instance group "world": a member contains the group itself
link "missing.so"
render "world" "cam_inst" "opt"
=> scene.mi:2:1: not rendered, as the scene has 1 error
instance "i" "key" hide on
instance "j" "key" end instance
shader "s" "phong" ( "lights" [ "i", "j" ] )
=> scene.mi:2:1: instance "i" has no "end instance" before "instance"
material "m" "phong" ( ) shadwo "phong" ( ) end material
=> scene.mi:1:26: material "m": expected a slot such as "shadow", or "end material", not "shadwo"
camera "c" resolution 640 end camera
=> scene.mi:1:27: expected the height in pixels as an integer, not "end"
camera "c" resolution 640 -1 end camera
=> scene.mi:1:27: the height in pixels must be positive, not -1
camera "unclosed
end camera
=> scene.mi:1:8: the string has no closing quote
martial "m" "phong" ( ) end martial
=> scene.mi:1:1: unknown statement "martial"
instance "i" "key" transform 1 0 0 end instance
=> scene.mi:1:36: the transformation has 3 of 16 numbers, then "end"
instance "i" "key" transform 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1 end instance
=> scene.mi:1:20: instance "i": the transformation cannot be inverted; a scale may be 0
light "l" "phong" ( ) direction 0 0 0 end light
=> scene.mi:1:33: light "l": the direction has no length
declare shader color "phong" ( scalar "other" ) end declare
=> scene.mi:1:22: "phong" is declared with other parameters or another result than at test.mi:1:22
declare shader colour "x" ( ) end declare
=> scene.mi:1:16: expected the type of the result or the shader's name, not "colour"
options "x" motion steps 129 end options
=> scene.mi:1:26: options "x": "motion steps" must be from 1 to 128, not 129
options "x" motion steps 0 end options
=> scene.mi:1:26: options "x": "motion steps" must be from 1 to 128, not 0
options "x" camera space end options
=> scene.mi:1:13: options "x": "camera space" has no effect: only object space is supported
options "x" samples -7 gamma 0 samples 3 1 jitter 2 end options
=> scene.mi:1:21: options "x": "samples" must be from -6 to 8, not -7
=> scene.mi:1:30: options "x": "gamma" must be above 0, not 0
=> scene.mi:1:40: options "x": "samples" has the lower number first, not 3 before 1
=> scene.mi:1:51: options "x": "jitter" must be from 0 to 1, not 2
options "x" filter sinc 3 end options
=> scene.mi:1:20: expected box, triangle, gauss, mitchell, lanczos and 0 to 2 numbers after "filter", not
     "sinc"
color texture "t" [ 2 2 ] '00' end
=> scene.mi:1:15: texture "t": 2 x 2 pixels of 4 components with 1 bytes each need 16 bytes, not 1
=> scene.mi:1:32: unknown statement "end"
data "d" 1 [ '0102' ] end data
=> scene.mi:1:10: data "d" has 2 bytes, more than the 1 it announces
object "o" visible group 0 0 0 1 0 0 1 1 0 v 0 v 1 v 3 c 0 1 2 end group end object
=> scene.mi:1:52: object "o": vertex 2 takes vector 3, but there are 3, counted from 0
object "o" visible group 0 0 0 1 0 0 1 1 0 v 0 v 1 v 2
c 0 1 3 c 0 1 end group end object
=> scene.mi:2:1: object "o": polygon 0 takes vertex 3, but there are 3, counted from 0
=> scene.mi:2:9: object "o": a loop of polygon 0 has 2 vertices; at least 3 are needed
object "o" visible group 0 0 0 1 0 end group end object
=> scene.mi:1:36: vector 1 of the list has fewer than 3 numbers: "end" follows
object "o" visible tagged group 0 0 0 v 0 p "m" 0 0 0 end group end object
=> scene.mi:1:45: object "o" is tagged, so its polygons begin with an integer label, not the string "m"
object "o" visible group trilist vertex 3 p triangle 1 [ 0 0 0 1 0 0 ] [ 0 1 2 ] end trilist
end group end object
=> scene.mi:1:70: object "o", vertices of the trilist: 9 numbers are needed, but "]" follows after 6
object "o" visible group trilist vertex 3 p triangle 1 [ 0 0 0 1 0 0 1 1 0 ] [ 0 1 3 ] end trilist
end group end object
=> scene.mi:1:26: object "o": triangle 0 of the trilist takes a vertex beyond the 3 there are (counted from
     0)
object "o" visible hair degree 3 radius 0.1 scalars 9 [ 0 0 0 0 1 0 0 2 0 ] hairs 1 [ 0 ] end hair end object
=> scene.mi:1:20: object "o": hair 0 has 3 vertices: curves of degree 3 have 4, 7, 10 ...; 1 of 1 left out
object "o" visible hair scalars 10 [ 0 0 0 0 1 0 0 0 0 0 ] hairs 2 [ 0 6 ] end hair end object
=> scene.mi:1:20: object "o": hair 1 has 4 scalars: 0 of its own and 3 for each vertex do not make that; 1 of 2
     left out
object "o" visible hair scalars 6 [ 0 0 0 0 1 0 ] hairs 2 [ 0 9 ] end hair end object
=> scene.mi:1:20: object "o": hair 0 has the scalars from 0 up to 9 of 6; 2 of 2 left out
object "o" visible hair radius -1 scalars 0 [ ] hairs 0 [ ] end hair end object
=> scene.mi:1:32: object "o": a hair's radius cannot be -1
object "o" visible hair degree 4 end hair end object
=> scene.mi:1:32: object "o": the degree of hairs is 1, 2 or 3, not 4
object "o" visible hair hairs 1 [ 0 ] end hair end object
=> scene.mi:1:31: object "o": "scalars" come before "hairs"
object "b" visible particle 1 `abcd` end particle end object
instance "bi" "b" end instance
=> scene.mi:1:20: object "b": particles not supported, object skipped
object "o" visible basis "b" bezier 0 end object
=> scene.mi:1:37: basis "b": the degree must be from 1 to 21, not 0
object "o" visible basis "b" bspline 22 end object
=> scene.mi:1:38: basis "b": the degree must be from 1 to 21, not 22
object "o" visible basis "b" nurbs 3 end object
=> scene.mi:1:30: basis "b": expected bezier, bspline, cardinal, taylor or matrix, not "nurbs"
object "o" visible basis "b" bezier 1 group 0 0 0 v 0 surface "s" "m" "b" 0 1 0. 1. "c" end group end object
=> scene.mi:1:67: "m" is not defined before this place, where a material is expected
=> scene.mi:1:85: object "o", surface "s": basis "c" is not defined in this object before this place
object "o" visible basis "b" bezier 1 group 0 0 0 v 0 surface "s" "b" 0 1 1. 0. "b" end group end object
=> scene.mi:1:75: object "o", surface "s": parameters must not decrease, but 0 follows 1
object "o" visible basis "b" bezier 1 group 0 0 0 v 0 surface "s" "b" 0 2 0. 1. "b" end group end object
=> scene.mi:1:71: object "o", surface "s": the range 0 to 2 does not lie in that of the parameters, 0 to 1
object "o" visible basis "b" bspline 2 group 0 0 0 v 0
surface "s" "b" 0 1 0. 0. 0. 0. 1. 1. 1. "b" end group end object
=> scene.mi:2:21: object "o", surface "s": knot 0 is given more than 3 times, the degree plus 1
object "o" visible basis "b" bezier 1 group 0 0 0 v 0
surface "s" "b" 0 1 0. 1. "b" 0 1 0 1 0 0 0 0 end group end object
=> scene.mi:2:35: object "o", surface "s": basis "b" needs at least 2 parameters, but 0 are given; they are
     written with a decimal point, which sets them off from the vertices
object "o" visible basis "b" bezier 1 group 0 0 0 v 0
surface "s" "b" 0 1 0. 1. "b" 0 1 0. 1. 0 0 0 end group end object
=> scene.mi:2:41: object "o", surface "s": the parameters go with 4 control points, but 3 are given
object "o" visible basis "b" bezier 1 group 0 0 0 v 0
surface "s" "b" 0 1 0. 1. "b" 0 1 0. 1. 0 0 .5 0 0 end group end object
=> scene.mi:2:45: object "o", surface "s": control point 1 has a weight, but the basis is not rational
object "o" visible basis "b" rational bezier 1 group 0 0 0 v 0
curve "c" "b" 0. 1. 0 w -1 0 end group end object
=> scene.mi:2:23: object "o", curve "c": the weight of control point 0 must be above 0
object "o" visible basis "b" bezier 1 group 0 0 0 v 0 curve "c" "b" 0. 1. 0 0
surface "s" "b" 0 1 0. 1. "b" 0 1 0. 1. 0 0 0 0 trim "c" 0 2 end group end object
=> scene.mi:2:58: object "o", surface "s": the part 0 to 2 does not lie on curve "c", which goes from 0 to 1
object "o" visible group 0 0 0 1 0 0 1 1 0 0 1 0 v 0 v 1 v 2 v 3 subdivision surface "s"
polygon 0 1 7 polygon 0 1 0 polygon 0 1 polygon 0 1 2 3 crease 0 2 crease 0 1 2
end subdivision surface end group end object
=> scene.mi:2:9: object "o", subdivision surface "s": vertex 7 is asked for, but there are 4, counted from 0
=> scene.mi:2:23: object "o", subdivision surface "s": a polygon comes to the same point twice
=> scene.mi:2:37: object "o", subdivision surface "s": at least 3 vertices are needed here, but there are 2
=> scene.mi:2:64: object "o", subdivision surface "s": a crease goes from one vertex to another that no
     polygon joins by an edge
object "o" visible group 0 0 0 v 0 ccmesh "s" end ccmesh end group end object
=> scene.mi:1:36: object "o", subdivision surface "s" has no polygons
)mi";

/// Every mistake also has a correct material behind it, which must survive.
TEST(Mistakes, AreNamedWithTheirPlaceAndReadingGoesOn) {
    const std::vector<ExpectedText> cases = expectedTexts(mistakes);
    EXPECT_GT(cases.size(), 40u);
    for (const auto& [scene, errors] : cases) {
        SceneText text(prelude);
        ASSERT_EQ(text.errors(), "");
        text.scene.parseText(scene + "material \"later\" \"phong\" ( ) end material\n", "scene.mi", {},
                             text.callbacks);
        EXPECT_EQ(text.errors(), errors) << scene;
        EXPECT_NE(text.find<MaterialElement>("later"), nullptr) << scene;
    }
}

TEST(Errors, StopReadingAfterTwenty) {
    std::string scene;
    for (int i = 0; i < 50; ++i) scene += "wrong\noptions \"o\" end options\n";
    SceneText text(scene);
    EXPECT_EQ(text.scene.errors(), 20);
    EXPECT_EQ(text.log.count(LogLevel::Error), 21);
}

TEST(Errors, OfObjectsThatNobodySeesAreWarnings) {
    SceneText text("object \"o\" group 0 0 0 1 0 0 1 1 0 v 0 v 1 v 2 c 0 1 2 end group end object\n"
                   "camera \"c\" end camera\ncamera \"c\" end camera");
    EXPECT_EQ(text.errors(), "");
    EXPECT_EQ(text.warnings(),
              "test.mi:1:8: object \"o\" has none of \"visible\", \"shadow\" and \"trace\" on; it is seen "
              "only where an instance switches them on\n"
              "test.mi:3:8: \"c\" is defined again; what refers to the camera from test.mi:2:8 keeps "
              "that one\n");
}

TEST(Errors, ASecondDataBlockOfACameraIsAWarning) {
    const std::string two =
        "declare data \"note\" ( integer \"n\" ) end declare\n"
        "data \"a\" \"note\" ( \"n\" 1 ) end data data \"b\" \"note\" ( \"n\" 2 ) end data\n";
    SceneText text(two + "camera \"c\" data \"a\" focal 1 data \"b\" end camera\n");
    EXPECT_EQ(text.errors(), "");
    EXPECT_EQ(text.warnings(),
              "test.mi:3:34: camera \"c\": its data \"b\" replaces \"a\", which shaders do not see; "
              "to keep both, write data \"a\" into the block \"b\"\n");
    EXPECT_EQ(text.find<CameraElement>("c")->camera.userdata, text.find<UserdataElement>("b")->tag);

    // Replaced or taken away on purpose, or still in the chain.
    SceneText later(two + "camera \"c\" data \"a\" data \"a\" end camera\n"
                          "incremental camera \"c\" data \"b\" end camera\n"
                          "incremental camera \"c\" data null data \"a\" end camera\n"
                          "data \"chain\" \"note\" ( \"n\" 3 ) data \"b\" end data\n"
                          "incremental camera \"c\" data \"b\" data \"chain\" end camera\n");
    EXPECT_EQ(later.errors() + later.warnings(), "");
}

TEST(MessageLines, NameModuleThreadAndLevelOnOneLine) {
    LogMessage message{LogLevel::Warning, "SHDR", 3, "two\nlines", {"a.mi", 4, 5}};
    EXPECT_EQ(Log::line(message), "SHDR 0.3   warning: a.mi:4:5: two lines");
    Log log(LogLevel::None);
    log.keep(true);
    EXPECT_TRUE(log.once("k", message));
    EXPECT_FALSE(log.once("k", message));
    EXPECT_FALSE(log.once("k", message));
    log.reportRepeats();
    log.reportRepeats();
    ASSERT_EQ(log.kept().size(), 2u);
    EXPECT_EQ(log.kept()[1].text, "two\nlines (and 2 more times)");
}

} // namespace
} // namespace orca::scene
