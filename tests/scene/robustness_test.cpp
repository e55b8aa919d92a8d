// SPDX-License-Identifier: Apache-2.0
#include "scene_fixture.h"

#include <random>

namespace orca::scene {
namespace {

/// Short, but with every kind of statement that has a reader of its own.
const std::string seed = R"mi(
set "v" "1"
$ifdef "v"
registry "{R}" value "x" end registry
$endif
declare shader struct { color "c", scalar "s" } "f" ( scalar "a" default 1, array struct "l" { color "c", array
    integer "i" }, transform "t", string "n", array light "lights" ) version 1 apply material end declare
declare data "d" ( integer "m", array string "s" ) end declare
declare shader color "g" ( color "x" ) end declare
declare phenomenon color "p" ( color "x" ) shader "i" "g" ( "x" = interface "x" ) root = "i" end declare
declare phenomenon material "pm" ( color "x" ) color texture "pt" "g" ( "x" = interface "x" ) light "pl" "g" ( )
    end light instance "pi" "pl" end instance material "pk" "g" ( "x" = interface "x" ) shadow "g" ( ) end material
    lens "g" ( ) output "rgba" "tif" "p.tif" root material "pk" end declare
material "pu" "pm" ( "x" 1 2 3 ) volume "g" ( ) end material
material "pv" = "pu" end material
shader "s" "f" ( "a" 2, "l" [ { "c" 1 2 3, "i" [ 1, 2 ] }, { } ], "n" "text" )
shader "u" "g" ( "x" = "s.c" )
shader "q" "p" ( "x" 1 2 3 )
options "o" samples 0 2 contrast .1 .1 .1 filter gauss 2 state "f" ( ) "own" 3 shadow segments end options
data "b" 4 [ '0a0b' ff ] end data
data "e" "d" ( "m" 1, "s" [ "a", "b" ] ) data "b" tag 2 end data
camera "c" framebuffer "m" datatype "rgba" primary on output "+rgba,z" "tif" "a.tif" resolution 4 4
    window 0 0 2 2 lens "g" ( ) data "e" focal infinity end camera
color texture "t" [ 1 1 ] '00ff00ff'
local filter 2 scalar texture "t2" "{R}.tif"
material "m" opaque "g" ( ) shadow = "u" volume end material
light "k" "g" ( ) origin 0 0 0 direction 0 0 1 spread .5 rectangle 1 0 0 0 1 0 2 2 1 end light
lightprofile "lp" format ies file "a" end lightprofile
object "ob" visible shadow trace group 0 0 0 1 0 0 1 1 0 0 0 1 v 0 n 3 t 1 v 1 v 2 p "m" 0 1 2 hole 0 1 2
    approximate parametric 1 1 end group end object
object "tl" visible group trilist vertex 3 p t 2 triangle 1 [ 0 0 0 1 1 1 0 0 1 1 1 1 0 1 1 ] [ 0 1 2 ]
    end trilist end group end object
instance "ki" "k" end instance
instance "oi" "ob" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 light exclusive [ "ki" ] material [ "m" ] end instance
instance "ci" "c" end instance
instgroup "w" "ci" "oi" "ki" end instgroup
incremental instance "oi" hide on end instance
namespace "n" shader "s" = "u" end namespace
render "w" "ci" "o"
delete "q"
)mi";

/// Reads a damaged scene; what matters is that it ends and that its elements stay usable.
void readAndVisit(const std::string& scene) {
    SceneText text(scene);
    Database& database = text.scene.database();
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        Element* element = database.get(tag);
        if (!element) continue;
        element->visitReferences([&](miTag used) {
            ASSERT_LT(used, database.endTag()) << element->name << '\n' << scene;
        });
        if (database.access(tag)) database.unpin(tag);
        EXPECT_EQ(database.find<FunctionElement>(tag) && database.isInCycle(tag), false) << scene;
    }
    EXPECT_EQ(database.pinsHeld(), 0);
}

TEST(DamagedScenes, StartFromASoundOne) {
    SceneText text(seed);
    EXPECT_EQ(text.errors(), "");
    EXPECT_EQ(text.renders.size(), 1u);
}

TEST(DamagedScenes, CutAnywhereEndWithMessages) {
    for (std::size_t length = 0; length < seed.size(); ++length) readAndVisit(seed.substr(0, length));
}

TEST(DamagedScenes, WithWordsLostDoubledOrSwappedEndWithMessages) {
    std::vector<std::string> pieces;
    for (std::size_t start = 0; start < seed.size();) {
        const std::size_t stop = std::min(seed.find_first_of(" \n", start), seed.size() - 1) + 1;
        pieces.push_back(seed.substr(start, stop - start));
        start = stop;
    }
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::vector<std::string> damaged = pieces;
        for (int change = 0; change < 1 + round % 4; ++change) {
            const std::size_t at = random() % damaged.size(), other = random() % damaged.size();
            switch (random() % 3) {
            case 0: damaged.erase(damaged.begin() + at); break;
            case 1: damaged.insert(damaged.begin() + at, damaged[other]); break;
            default: std::swap(damaged[at], damaged[other]);
            }
        }
        std::string scene;
        for (const std::string& piece : damaged) scene += piece;
        readAndVisit(scene);
    }
}

TEST(DamagedScenes, WithBytesChangedEndWithMessages) {
    std::mt19937 random(2);
    const std::string marks = "\"'`()[]{}$#=,-.0 9\n\\";
    for (int round = 0; round < 2000; ++round) {
        std::string scene = seed;
        for (int change = 0; change < 1 + round % 8; ++change) {
            const bool anyByte = random() % 3 == 0;
            scene[random() % scene.size()] =
                anyByte ? static_cast<char>(random()) : marks[random() % marks.size()];
        }
        readAndVisit(scene);
    }
}

TEST(DamagedScenes, OfNoiseNothingAndDeepNestingEndWithMessages) {
    readAndVisit("");
    readAndVisit("\n\n  # only a comment");
    std::mt19937 random(3);
    std::string noise(100000, '\0');
    for (char& byte : noise) byte = static_cast<char>(random());
    readAndVisit(noise);
    std::string deep = "declare shader \"f\" ( ";
    for (int i = 0; i < 100000; ++i) deep += "struct \"s\" { ";
    readAndVisit(deep);
    readAndVisit("declare shader \"f\" ( ) end declare shader \"s\" \"f\" ( \"x\" " +
                 std::string(100000, '['));
    SceneText counts(
        "object \"o\" visible group trilist vertex 200000000 p n d d2 triangle 200000000 [ 1 2 3 ] [ ] end "
        "trilist end group end object");
    EXPECT_EQ(counts.scene.errors(), 1);
}

} // namespace
} // namespace orca::scene
