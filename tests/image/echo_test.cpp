// SPDX-License-Identifier: Apache-2.0
#include "command.h"

namespace orca::image::test {
namespace {

using namespace std::string_literals;

/// A scene of several files, with what a writer could lose: names, bytes, lines in strings, phenomena,
/// changes between pictures.
constexpr const char* scattered = R"mi(# comment
link "{LIB}orca.so"
$include <orca.mi>
link "velabase.so"
$include <velabase.mi>
$ifdef "shown"
$include "parts/shapes.mi"
$else
nonsense
$endif
declare shader color "tint" ( color "c" ) gui "g" { control ; } end declare
declare phenomenon material "paint" ( color "tone" default 1 0.5 .25 )
    shader "body" "orcaVelaLambert" ( "color" = interface "tone" )
    material "m" "orcaVelaShadingEngine" ( "surfaceShader" "body" ) end material root material "m" end declare
material "painted" "paint" ( "tone" 0.2 .4 8e-1 ) end material
data "raw" 3 [ 0a 'fF' 10 ] data "note \"1\\" "orcaPassMask" ( "mask" "FF" ) data "raw" end data
color texture "dots" [ 1 1 ] '01 02
0304'
color texture "tiles" "parts/t.<UDIM>.exr"
light "sun" "orcaVelaDirectionalLight" ( "intensity" 2 ) direction 0 0 -1 end light
instance "sun_inst" "sun" end instance
options "o" "two
lines" "a\b" "three" 3.0 1e5 7. state "velaBaseState" ( ) samples 0 0 hair on trace depth 1 end options
camera "cam" framebuffer "main" datatype "rgba_fp" primary on resolution 16 8 aspect 2 focal 1. end camera
instance "cam_inst" "cam" transform 1 0 0 0  0 1 0 0  0 0 1 0  -0.1 0 -4 1 end instance
assembly "far" file "parts/far.mi" end assembly
instance "far_inst" "far" end instance
namespace "n" object "card" visible trace file "parts/card.mi" end object end namespace
instance "card_inst" "n::card" material "painted" data "note \"1\\" end instance
object "wing" visible trace mesh "parts/wing.obj" end object
instance "wing_inst" "wing" material "painted" end instance
instgroup "world" "cam_inst" "sun_inst" "far_inst" "card_inst" "wing_inst" end instgroup
render "world" "cam_inst" "o"
incremental light "sun" direction 0 1 -1 end light
render "world" "cam_inst" "o"
)mi";

TEST_F(Command, EchoesASceneAsOneFileOfOneForm) {
    directory.write("scene.mi", scattered);
    directory.write("parts/shapes.mi", "echo \"shapes\"\nobject \"tri\" visible trace group\n"
                                       "`?\x80\0\0\0\0\0\0\0\0\0\0` -1 -1 0 0 1 0 v 0 v 1 v 2 p 0 2 1\n"
                                       "end group end object\n"s);
    directory.write("parts/far.mi",
                    "instance \"i\" \"tri\" material \"painted\" transform 1 0 0 0 0 1 0 0 0 0 1 0 "
                    "1 0 1 1 end instance\ninstance \"l\" \"sun\" end instance\n"
                    "instgroup \"g\" \"i\" \"l\" end instgroup\nroot \"g\"\n");
    directory.write("parts/card.mi", "object \"any\" group trilist vertex 3 p triangle 1 scalar `"s +
                                         "\0\0\0\0\0\0\0\0\0\0\0\0"s + "?\x80\0\0\0\0\0\0\0\0\0\0"s +
                                         "\0\0\0\0?\x80\0\0\0\0\0\0"s +
                                         "` [ 0 1 2 ] end trilist end group end object\n");
    directory.write("parts/wing.obj", "v -1.8 -0.8 0\nv -0.5 -0.8 0\nv -1.8 0.8 0\nf 1 2 3\n");
    const std::string given = " --set shown=1 --registry LIB= -v 2 ";
    ASSERT_EQ(run("scene.mi --echo out/echo.mi" + given, "mkdir out &&"), 0) << output;
    ASSERT_EQ(run("out/echo.mi --echo out/again.mi -v 2"), 0) << output;
    EXPECT_TRUE(content("out/again.mi") == content("out/echo.mi"));
    EXPECT_EQ(content("out/echo.mi").find('$'), std::string::npos);
    EXPECT_NE(content("out/echo.mi").find("\n        1 0 0\n        -1 -1 0\n"), std::string::npos);
    for (const char* pixel : {"--pixel 8,4", "--pixel 3,3", "--pixel 9,5"}) {
        ASSERT_EQ(run("scene.mi " + given + pixel), 0) << output;
        const std::string values = output;
        ASSERT_EQ(run("out/echo.mi -v 2 " + std::string(pixel)), 0) << output;
        EXPECT_EQ(output, values);
    }
    expectCalls({{"out/echo.mi --echo ./out/echo.mi", 2, {"is read by the scene"}},
                 {"scene.mi --echo out/bad.mi", 3, {"unknown statement \"nonsense\""}}});
    EXPECT_FALSE(exists("out/bad.mi"));
}

} // namespace
} // namespace orca::image::test
