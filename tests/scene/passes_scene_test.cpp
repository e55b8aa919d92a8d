// SPDX-License-Identifier: Apache-2.0
#include "scene/shader_list.h"
#include "scene_fixture.h"

#include <algorithm>

namespace orca::scene {
namespace {

/// A whole scene with passes: every kind of element, a data block with nested arrays, connections and lists.
constexpr const char* passesScene = R"mi(
min version "3.9"
registry "{LIBRARY}" value "build" end registry
link "{LIBRARY}/shaders.so"
$ifndef "declared"
set "declared" "true"
declare data "passData" (
        integer "magic",
        array string "plainBuffers",
        array struct "records" {
            string  "buffer",
            boolean "flag0", boolean "flag1", boolean "seenInReflection", boolean "seenInRefraction",
            boolean "includeReflection", boolean "includeRefraction", boolean "weighted", boolean "shadowed",
            boolean "ignoreLinks",
            integer "minReflection", integer "maxReflection", integer "minRefraction", integer "maxRefraction",
            integer "word"
        },
        array integer "counts"
    ) version 1
end declare
declare data "mask" ( string "mask" ) version 1 end declare
declare shader boolean "stateA" ( ) version 1 apply state end declare
declare shader boolean "stateB" ( ) version 1 apply state end declare
declare shader boolean "stateInit" ( integer "pass", color "value" ) version 1 apply state end declare
declare shader color "engine" ( shader "surface", scalar "s", integer "mode", array color "extra" )
    version 1 apply material
end declare
declare shader struct { color "outColor", color "outGlow" } "surface" (
        integer "mode" default 1, color "color" default 0.5 0.5 0.5 1.0, color "transparency",
        boolean "write" default on, vector "bump" ) version 1 apply material end declare
declare shader color "attenuate" ( color "transparency", scalar "depth" ) version 1 apply shadow end declare
declare shader color "point" ( scalar "radius", color "color" default 1 1 1 1, scalar "intensity" default 1.0,
        lightprofile "profile" ) version 1 apply light end declare
declare shader color "writer" ( integer "buffer", boolean "on" default on, color "value" ) version 1 end declare
declare shader color "depthPass" ( integer "pass" ) version 1 end declare
$endif
options "opt"
    object space
    samples 0 1  shadow segments  trace depth 3 3 4
    state "stateA" ( ) "stateB" ( ) "stateInit" ( "pass" 0, "value" 1000 0 0 0 )
    "shot label" "s010"
end options
data "cam:data"
    "passData" (
        "magic" 1178760550,
        "plainBuffers" [ "depth", "normal" ],
        "records" [
            { "buffer" "beauty", "includeReflection" on, "includeRefraction" on, "weighted" on, "shadowed" on,
              "maxReflection" 4, "maxRefraction" 4 },
            { "buffer" "diffuse", "weighted" on, "shadowed" on },
            { "buffer" "specular", "weighted" on, "shadowed" on, "seenInReflection" on, "maxReflection" 1 },
            { "buffer" "shadow", "shadowed" on },
            { "buffer" "custom" },
            { "buffer" "normals", "word" 1 }
        ],
        "counts" [ 1, 0, 0, 0, 0, 1, 0, 1, 0, 0,   0, 0, 1, 0, 0, 0, 0, 0, 0, 0,
                   0, 0, 0, 0, 0, 0, 0, 0, 0, 0,   1, 0, 1, 0, 0 ]
    )
end data
camera "cam"
    framebuffer "main" datatype "rgba_fp" primary on filtering on filename "p.exr" filetype "exr"
    framebuffer "diffuse" datatype "rgba_fp" user on filename "p.exr"
    framebuffer "depth" datatype "z" user on filtering off
    output "+rgba_fp,-z" "tif" "{LIBRARY}.tif"
    resolution 256 128  aspect 2.0  aperture 1.0  focal 1.5
    data "cam:data"
end camera
data "all" "mask" ( "mask" "FF" ) end data
data "noshadow" "mask" ( "mask" "7F" ) data "all" tag 3 end data
light "key" "point" ( "radius" 0.5, "intensity" 30, "color" 1 1 1 ) origin 0 0 0 disc 0 0 1 0.5 3 3 end light
light "fill" "point" ( ) direction 0 -2 0 end light
instance "key_inst" "key" transform 1 0 0 0 0 1 0 0 0 0 1 0 -3 -5 -4 1 data "all" end instance
instance "fill_inst" "fill" data "noshadow" end instance
shader "custom1" "writer" ( "value" 0 1 0 1 )
shader "surface1" "surface" ( "color" = "custom1", "bump" 1 2 3 )
shader "other" "surface" ( "transparency" = "surface1.outGlow" )
material "m" opaque
    "engine" ( "surface" "surface1", "mode" 2 )
    "depthPass" ( "pass" 1 )
    shadow "attenuate" ( "transparency" = "surface1.outGlow" )
end material
object "quad"
    visible shadow trace
    group
        -1 -1 0  1 -1 0  1 1 0  -1 1 0  0 0 1
        v 0 n 4  v 1 n 4  v 2 n 4  v 3 n 4
        p "m" 0 1 2 3
    end group
end object
instance "quadA" "quad" data "all" tag 1 end instance
instance "quadB" "quad" transform 1 0 0 0 0 1 0 0 0 0 1 0 -0.5 -0.5 1 1
    light exclusive [ "fill_inst" ] material [ "m" ] shadow off reflection 1 tag 2
end instance
instance "cam_inst" "cam" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -6 1 end instance
instgroup "world" "cam_inst" "key_inst" "fill_inst" "quadA" "quadB" end instgroup
render "world" "cam_inst" "opt"
)mi";

class PassesScene : public ::testing::Test {
protected:
    SceneText text{passesScene};
    Database& database = text.scene.database();
};

TEST_F(PassesScene, ReadsWithoutAWordAndRendersOnce) {
    EXPECT_EQ(text.errors(), "");
    EXPECT_EQ(text.warnings(), "");
    ASSERT_EQ(text.renders.size(), 1u);
    EXPECT_EQ(text.renders[0].group, text.tag("world"));
    EXPECT_EQ(text.renders[0].cameraInstance, text.tag("cam_inst"));
    EXPECT_EQ(text.renders[0].options, text.tag("opt"));
    EXPECT_EQ(text.links, std::vector<std::string>{"build/shaders.so"});
}

TEST_F(PassesScene, PutsArrayTailsWhereTheAccessRuleFindsThem) {
    const auto* data = text.find<UserdataElement>("cam:data");
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->userdata()->parameter_size, 644);
    const auto block = words(data->userdata()->parameters(), 644);
    ASSERT_EQ(block.size(), 161u);
    EXPECT_EQ(block[0], 0x46427566u);
    EXPECT_EQ(block[1], 21u);
    EXPECT_EQ(block[2], 2u);
    EXPECT_EQ(block[4], 2u);
    EXPECT_EQ(block[5], 6u);
    EXPECT_EQ(block[21], 103u);
    EXPECT_EQ(block[22], 35u);
    const auto string = [&](std::uint32_t tag) {
        const auto* element = database.find<StringElement>(tag);
        return element ? element->text : "none";
    };
    EXPECT_EQ(string(block[24]), "depth");
    EXPECT_EQ(string(block[25]), "normal");
    for (int i = 26; i < 36; ++i) EXPECT_EQ(block[i], 0u) << i;
    const char* names[] = {"beauty", "diffuse", "specular", "shadow", "custom", "normals"};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(string(block[36 + 15 * i]), names[i]);
    EXPECT_EQ(block[36 + 11], 4u);          // beauty: maxReflection
    EXPECT_EQ(block[36 + 5 * 15 + 14], 1u); // normals: word
    EXPECT_EQ(block[126], 1u);
    EXPECT_EQ(block[126 + 12], 1u);
    EXPECT_EQ(block[160], 0u);
}

TEST_F(PassesScene, ConnectsParametersToShadersAndToMembersOfTheirResults) {
    const auto* surface = text.find<FunctionElement>("surface1");
    ASSERT_NE(surface, nullptr);
    const miFunction* function = surface->function();
    EXPECT_EQ(function->parameter_size, 4 * (1 + 4 + 4 + 1 + 3));
    EXPECT_EQ(function->ghost_offs, function->parameter_size);
    EXPECT_EQ(function->result_size, 32);
    const auto ghosts = words(function->parameters() + function->ghost_offs, function->parameter_size);
    for (std::size_t i = 0; i < ghosts.size(); ++i) EXPECT_EQ(ghosts[i] != 0, i == 1) << i;
    EXPECT_EQ(surface->connection(ghosts[1]).source, text.tag("custom1"));
    EXPECT_EQ(surface->connection(ghosts[1]).memberOffset, 0);

    const auto* other = text.find<FunctionElement>("other");
    const auto otherGhosts = words(other->function()->parameters() + other->function()->ghost_offs,
                                   other->function()->parameter_size);
    EXPECT_EQ(other->connection(otherGhosts[5]).source, text.tag("surface1"));
    EXPECT_EQ(other->connection(otherGhosts[5]).memberOffset, 16);

    const auto* unconnected = text.find<FunctionElement>("custom1");
    EXPECT_EQ(unconnected->function()->ghost_offs, 0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(unconnected->function()->parameters()) % 16, 0u);
}

TEST_F(PassesScene, ChainsListsInOrder) {
    const auto* material = text.find<MaterialElement>("m");
    EXPECT_TRUE(material->material.opaque);
    const auto* engine = database.find<FunctionElement>(material->material.shader);
    EXPECT_EQ(engine->declaration->name, "engine");
    EXPECT_EQ(words(engine->function()->parameters(), 4)[0], text.tag("surface1"));
    const auto* pass = database.find<FunctionElement>(engine->function()->next_function);
    EXPECT_EQ(pass->declaration->name, "depthPass");
    EXPECT_EQ(pass->function()->next_function, miNULLTAG);

    const auto* options = text.find<OptionsElement>("opt");
    std::vector<std::string> names;
    for (miTag tag = options->options.state_func; tag;) {
        const auto* state = database.find<FunctionElement>(tag);
        names.push_back(state->declaration->name);
        tag = state->function()->next_function;
    }
    EXPECT_EQ(names, (std::vector<std::string>{"stateA", "stateB", "stateInit"}));
    EXPECT_EQ(std::get<std::string>(options->strings.at("shot label")), "s010");
    EXPECT_EQ(options->options.shadow, miSHADOW_SEGMENTS);
    EXPECT_EQ(options->options.trace_depth, 4);
}

TEST_F(PassesScene, PlacesInstancesAndTheirLinks) {
    const auto* quad = text.find<InstanceElement>("quadB");
    EXPECT_FLOAT_EQ(quad->transform[12], -0.5f);
    EXPECT_FLOAT_EQ(quad->instance.tf.local_to_global[12], 0.5f);
    EXPECT_FLOAT_EQ(quad->instance.tf.local_to_global[14], -1.0f);
    EXPECT_TRUE(quad->lights.given);
    EXPECT_TRUE(quad->lights.exclusive);
    EXPECT_EQ(quad->lights.lights, std::vector<miTag>{text.tag("fill_inst")});
    EXPECT_FALSE(quad->shadowLights.given);
    EXPECT_EQ(quad->flags.shadow, std::optional<bool>(false));
    EXPECT_EQ(quad->flags.reflection, std::optional<int>(1));
    EXPECT_FALSE(quad->flags.visible.has_value());
    EXPECT_EQ(quad->instance.label, 2u);

    const auto* chained = text.find<UserdataElement>("noshadow");
    EXPECT_EQ(chained->userdata()->next_data, text.tag("all"));
    EXPECT_EQ(chained->userdata()->label, 3u);
    EXPECT_EQ(chained->userdata()->one, 1);
    EXPECT_EQ(chained->userdata()->data_decl, database.declaration("mask"));
}

TEST_F(PassesScene, KnowsLightsCameraAndBuffers) {
    const auto* key = text.find<LightElement>("key");
    EXPECT_EQ(key->light.type, miLIGHT_ORIGIN);
    EXPECT_EQ(key->light.area, miLIGHT_DISC);
    EXPECT_FLOAT_EQ(key->light.radius, 0.5f);
    EXPECT_EQ(key->light.samples_v, 3);
    const auto* fill = text.find<LightElement>("fill");
    EXPECT_EQ(fill->light.type, miLIGHT_DIRECTION);
    EXPECT_FLOAT_EQ(fill->light.direction.y, -1.0f);
    // Three numbers of a color leave its alpha 0; the default's is 1.
    const auto alpha = [&](const LightElement* light) {
        const auto* shader = database.find<FunctionElement>(light->light.shader);
        return reinterpret_cast<const float*>(shader->function()->parameters())[4];
    };
    EXPECT_EQ(alpha(key), 0.0f);
    EXPECT_EQ(alpha(fill), 1.0f);

    const auto* camera = text.find<CameraElement>("cam");
    ASSERT_EQ(camera->framebuffers.size(), 3u);
    EXPECT_TRUE(camera->framebuffers[0].primary);
    EXPECT_EQ(camera->framebuffers[2].datatype, "z");
    EXPECT_EQ(camera->framebuffers[2].filtering, std::optional<bool>(false));
    EXPECT_FALSE(camera->framebuffers[1].filtering.has_value());
    ASSERT_EQ(camera->outputs.size(), 1u);
    EXPECT_EQ(camera->outputs[0].filename, "build.tif");
    EXPECT_EQ(camera->outputs[0].buffers[1].name, "z");
    EXPECT_EQ(camera->outputs[0].buffers[1].interpolate, std::optional<bool>(false));
    EXPECT_EQ(camera->camera.window.xh, 255);
    EXPECT_EQ(camera->camera.window.yh, 127);
}

TEST_F(PassesScene, IncrementalChangesKeepWhatTheyDoNotMention) {
    const miTag surfaceBefore = text.tag("surface1");
    const miTag quadBefore = text.tag("quadA");
    ASSERT_TRUE(text.read(R"mi(
incremental shader "surface1" "surface" ( "mode" 7 )
incremental light "key" "point" ( "intensity" 5 ) end light
incremental instance "quadA" transform 1 0 0 0 0 1 0 0 0 0 1 0 -2 0 0 1 end instance
incremental camera "cam" framebuffer "depth" filtering on  resolution 64 32 end camera
incremental options "opt" samples 2 2 end options
incremental instgroup "world" "cam_inst" "quadA" end instgroup
incremental object "quad" group 0 0 0 1 0 0 1 1 0 v 0 v 1 v 2 c 0 1 2 end group end object
shader "head" "stateInit" ( "pass" 1 )
options "others" state = "head" "stateB" ( ) end options
incremental shader "head" "stateInit" ( "pass" 2 )
shader "pair" "stateInit" ( "pass" 3 ) "stateB" ( )
options "paired" state = "pair" end options
incremental options "paired" state = "pair" "stateB" ( ) end options
render "world" "cam_inst" "opt"
)mi")) << text.errors();
    EXPECT_EQ(text.warnings(), "");
    EXPECT_EQ(text.renders.size(), 2u);
    EXPECT_EQ(text.renders[1].number, 2);
    const auto* surface = text.find<FunctionElement>("surface1");
    EXPECT_EQ(surface->tag, surfaceBefore);
    EXPECT_EQ(surface->revision, 1u);
    const auto block = words(surface->function()->parameters(), surface->function()->parameter_size);
    EXPECT_EQ(block[0], 7u);
    EXPECT_EQ(reinterpret_cast<const float&>(block[10]), 1.0f); // bump, as before
    EXPECT_NE(surface->function()->ghost_offs, 0);              // and the connection
    EXPECT_EQ(text.tag("quadA"), quadBefore);
    EXPECT_EQ(text.find<InstanceElement>("quadA")->instance.label, 1u);
    EXPECT_EQ(text.find<InstanceElement>("quadA")->transform[12], -2.0f);
    const auto* camera = text.find<CameraElement>("cam");
    EXPECT_EQ(camera->framebuffers.size(), 3u);
    EXPECT_EQ(camera->framebuffers[2].filtering, std::optional<bool>(true));
    EXPECT_EQ(camera->framebuffers[2].datatype, "z");
    EXPECT_EQ(camera->camera.window.xh, 63);
    const auto* light = text.find<LightElement>("key");
    const auto* point = database.find<FunctionElement>(light->light.shader);
    EXPECT_EQ(reinterpret_cast<const float*>(point->function()->parameters())[0], 0.5f);
    EXPECT_EQ(reinterpret_cast<const float*>(point->function()->parameters())[5], 5.0f);
    EXPECT_EQ(light->light.area, miLIGHT_DISC);
    EXPECT_EQ(text.find<OptionsElement>("opt")->options.trace_depth, 4);
    EXPECT_EQ(text.find<GroupElement>("world")->members.size(), 2u);
    const auto* quad = text.find<ObjectElement>("quad");
    EXPECT_EQ(quad->triangleCount(), 1u);
    EXPECT_TRUE(quad->object.visible);
    const auto* head = text.find<FunctionElement>("head"); // keeps its place in the list
    EXPECT_EQ(text.find<OptionsElement>("others")->options.state_func, head->tag);
    EXPECT_NE(head->function()->next_function, miNULLTAG);
    EXPECT_EQ(shaderList(database, text.tag("pair")).size(), 3u); // a name refers to its whole list
}

} // namespace
} // namespace orca::scene
