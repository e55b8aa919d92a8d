// SPDX-License-Identifier: Apache-2.0
#include "scene/phenomenon_attachments.h"
#include "scene_fixture.h"

namespace orca::scene {
namespace {

constexpr const char* phenomenonScene = R"mi(
declare shader color "mix" ( color "a", color "b" default 9 9 9 9, scalar "w" default 0.5, array scalar "list" )
end declare
declare shader scalar "noise" ( scalar "size" default 1 ) end declare
declare phenomenon color "layered" ( color "base" default 1 0 0 1, scalar "size", struct "extra" { scalar "weight", color "top" },
                                     array scalar "list" )
    version 1
    shader "n" "noise" ( "size" = interface "size" )
    shader "inner" "mix" ( "a" = interface "base", "b" = interface "extra.top", "w" = "n",
                           "list" = interface "list" )
    root = "inner"
end declare
declare phenomenon color "twice" ( color "c" )
    shader "one" "layered" ( "base" = interface "c", "size" 4 )
    shader "two" "mix" ( "a" = "one", "b" = interface "c" )
    root = "two"
end declare
shader "p" "layered" ( "size" 2, "list" [ 1, 2 ] )
shader "q" "layered" ( "base" = "p", "extra" { "top" 3 3 3 3 } )
shader "t" "twice" ( "c" 5 6 7 8 )
shader "user" "mix" ( "a" = "q" )
declare shader struct { color "c", struct "extra" { scalar "weight", color "top" } } "many" ( ) end declare
shader "many1" "many" ( )
shader "r" "layered" ( "extra" = "many1.extra" )
)mi";

TEST(Phenomena, AreExpandedWithTheValuesOfEachUse) {
    SceneText text(phenomenonScene);
    ASSERT_EQ(text.errors(), "");
    const auto floats = [](const FunctionElement* f) {
        return reinterpret_cast<const float*>(f->function()->parameters);
    };
    const auto source = [&](const FunctionElement* f, int word) {
        const auto ghosts =
            words(f->function()->parameters + f->function()->ghost_offs, f->function()->parameter_size);
        return text.scene.database().find<FunctionElement>(f->connection(ghosts[word]).source);
    };
    const auto* p = text.find<FunctionElement>("p");
    const auto* q = text.find<FunctionElement>("q");
    EXPECT_NE(p, q);
    EXPECT_EQ(p->declaration->name, "mix");
    EXPECT_EQ(floats(p)[0], 1.0f); // the interface's default
    EXPECT_EQ(floats(p)[4], 0.0f); // nothing given: zero, not the inner shader's own default
    EXPECT_EQ(words(p->function()->parameters, 48)[10], 2u);
    EXPECT_EQ(floats(source(p, 8))[0], 2.0f);
    EXPECT_EQ(source(q, 0), p);
    EXPECT_EQ(floats(q)[4], 3.0f);
    EXPECT_EQ(floats(source(q, 8))[0], 0.0f);
    EXPECT_NE(source(q, 8), source(p, 8));
    const auto* r = text.find<FunctionElement>("r"); // a member of a member of what is connected
    EXPECT_EQ(r->values[1].connection.source, text.tag("many1"));
    EXPECT_EQ(r->values[1].connection.memberOffset, 20);
    // A phenomenon inside another one.
    const auto* t = text.find<FunctionElement>("t");
    EXPECT_EQ(floats(t)[4], 5.0f);
    const auto* one = source(t, 0);
    EXPECT_EQ(floats(one)[1], 6.0f);
    EXPECT_EQ(floats(source(one, 8))[0], 4.0f);
}

/// A material, its texture and a light that it brings along, and what is attached to the camera.
constexpr const char* kitScene = R"mi(
declare shader color "mix" ( color "a", color "b", array light "lights" ) end declare
declare shader color "look" ( color texture "t" ) end declare
declare shader color "glow" ( color "c" default 1 1 1 1 ) end declare
declare phenomenon material "kit" ( color "tint" default 1 2 3 4, color texture "map" )
    version 1
    color texture "noise" "glow" ( "c" = interface "tint" )
    color texture "picture" "picture.png"
    shader "own" "look" ( "t" "noise" )
    shader "file" "look" ( "t" "picture" )
    shader "given" "look" ( "t" = interface "map" )
    light "lamp" "glow" ( "c" = interface "tint" ) origin 0 1 0 end light
    instance "lamp here" "lamp" end instance
    shader "body" "mix" ( "a" = "own", "b" = "file", "lights" [ "lamp here" ] )
    material "skin" opaque "mix" ( "a" = "body", "b" = "given" ) shadow "mix" ( ) end material
    volume "glow" ( "c" = interface "tint" )
    output "rgba" "png" "kit.png"
    root material "skin"
end declare
color texture "outer" "outer.png"
shader "one" "kit" ( "tint" 5 6 7 8, "map" "outer" )
material "two" "kit" ( ) volume "glow" ( "c" 0 0 0 0 ) end material
material "three" = "one" shadow end material
)mi";

TEST(Phenomena, MayBeMaterialsWithPartsOfTheirOwn) {
    SceneText text(kitScene);
    ASSERT_EQ(text.errors(), "");
    Database& database = text.scene.database();
    const auto function = [&](miTag tag) { return database.find<FunctionElement>(tag); };
    const auto number = [&](miTag shader, int word) {
        return reinterpret_cast<const float*>(function(shader)->function()->parameters)[word];
    };
    const auto source = [&](miTag shader, std::size_t parameter) {
        return function(shader)->values[parameter].connection.source;
    };
    const auto texture = [&](miTag shader) { return function(shader)->values[0].words.at(0); };
    const auto* one = text.find<MaterialElement>("one");
    const auto* two = text.find<MaterialElement>("two");
    const auto* three = text.find<MaterialElement>("three");
    ASSERT_TRUE(one && two && three);

    EXPECT_TRUE(one->material.opaque && two->material.opaque);
    EXPECT_EQ(function(one->material.shadow)->function()->parameter_indirect, one->material.shader);
    EXPECT_NE(one->material.shader, two->material.shader);
    EXPECT_EQ(number(two->material.volume, 0), 0.0f); // said over the phenomenon's
    EXPECT_EQ(three->material.shader, one->material.shader);
    EXPECT_EQ(three->material.shadow, miNULLTAG);

    // Procedural textures and lights are copied with the use's values; files are shared.
    const miTag bodyOne = source(one->material.shader, 0), bodyTwo = source(two->material.shader, 0);
    const auto* noise = database.find<TextureElement>(texture(source(bodyOne, 0)));
    EXPECT_EQ(number(noise->shader, 0), 5.0f);
    EXPECT_EQ(texture(source(bodyOne, 1)), texture(source(bodyTwo, 1)));
    EXPECT_EQ(texture(source(one->material.shader, 1)), text.tag("outer"));
    const auto* lamp = database.find<InstanceElement>(function(bodyOne)->values[2].words.at(0));
    ASSERT_TRUE(lamp);
    EXPECT_EQ(lamp->name, "one::lamp here");
    EXPECT_EQ(number(database.find<LightElement>(lamp->instance.item)->light.shader, 0), 5.0f);
    EXPECT_NE(function(bodyTwo)->values[2].words.at(0), lamp->tag);
}

TEST(Phenomena, AttachToPicturesThatUseThem) {
    SceneText text(std::string(kitScene) + R"mi(
object "thing" end object
instance "thing here" "thing" material "one" end instance
instance "bare here" "thing" end instance
instance "third here" "thing" material "three" end instance
instgroup "all" "thing here" end instgroup
instgroup "bare" "bare here" end instgroup
instgroup "third" "third here" end instgroup
)mi");
    ASSERT_EQ(text.errors(), "");
    const auto attached = [&](const char* group) {
        return attachmentsTo(text.scene.database(), {text.tag(group)});
    };
    EXPECT_EQ(attached("all").instances.size(), 1u);
    EXPECT_EQ(attached("all").volume.size(), 1u);
    ASSERT_EQ(attached("all").outputs.size(), 1u);
    EXPECT_EQ(attached("all").outputs[0].filename, "kit.png");
    EXPECT_TRUE(attached("bare").empty());
    EXPECT_EQ(attached("third").instances, attached("all").instances);

    // Without a result, the name is what counts; inside another phenomenon, that one's use.
    text.read(R"mi(
declare phenomenon "fog" ( color "c" default 1 1 1 1 ) volume "glow" ( "c" = interface "c" ) end declare
declare phenomenon "weather" ( color "c" ) shader "f" "fog" ( "c" = interface "c" ) environment "glow" ( ) end declare
shader "today" "weather" ( "c" 9 9 9 9 )
)mi");
    ASSERT_EQ(text.errors(), "");
    const PhenomenonAttachments weather = attached("bare");
    ASSERT_EQ(weather.volume.size(), 1u);
    EXPECT_EQ(weather.environment.size(), 1u);
    EXPECT_EQ(text.scene.database().find<FunctionElement>(weather.volume[0])->values[0].words[0],
              0x41100000u);
    text.read("shader \"today\" \"fog\" ( )\n");
    EXPECT_EQ(attached("bare").environment.size(), 0u);
    text.read("delete \"today\"\n");
    EXPECT_TRUE(attached("bare").empty());
}

/// In line 1 stands the declaration of "glow".
constexpr const char* mistakes = R"mi(
declare phenomenon color "p" ( )
material "m" "glow" ( ) end material
root material "m"
end declare
=> test.mi:2:26: phenomenon "p" gives a color, but its root is a material; declare it as
     "phenomenon material"
declare phenomenon color "p" ( ) shader "s" "glow" ( ) end declare
=> test.mi:2:26: phenomenon "p" has no root, so it has no result
declare phenomenon material "p" ( ) material "m" "glow" ( ) end material root material "m" end declare
material "x" "glow" ( ) shadow "p" ( ) end material
=> test.mi:3:32: material "x", shadow: the result of phenomenon "p" is a material, but a shader is
     expected here
declare phenomenon "p" ( ) volume "glow" ( ) end declare
shader "fog" "p" ( )
shader "s" "glow" ( "c" = "fog" )
=> test.mi:4:27: "fog" is a phenomenon without a result, but a named shader is expected here
declare phenomenon material "p" ( )
light "l" "glow" ( ) nonsense end light
instance "i" "l" end instance
material "m" "glow" ( ) end material
root material "m"
end declare
shader "after" "glow" ( )
=> test.mi:3:22: light "l": unknown statement "nonsense"
declare phenomenon color "p" ( shader "s" )
material "m" = interface "s" end material
root "glow" ( )
end declare
=> test.mi:3:16: material "m": a list takes no shaders from the interface; hand them to a parameter of
     type shader
)mi";

TEST(Phenomena, SayWhatIsWrongOnceAndWhere) {
    for (const auto& [scene, errors] : expectedTexts(mistakes))
        EXPECT_EQ(SceneText("declare shader color \"glow\" ( color \"c\" ) end declare\n" + scene).errors(),
                  errors)
            << scene;
}

} // namespace
} // namespace orca::scene
