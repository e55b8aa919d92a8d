// SPDX-License-Identifier: Apache-2.0
#include "scene/shader_list.h"
#include "scene_fixture.h"

#include <array>

namespace orca::scene {
namespace {

/// Every kind of element, with connections and lists.
constexpr const char* passesScene = R"mi(
min version "3.9"
registry "{LIBRARY}" value "build" end registry
link "{LIBRARY}/shaders.so"
declare data "mask" ( string "mask" ) version 1 end declare
declare shader boolean "stateA" ( ) version 1 apply state end declare
declare shader boolean "stateInit" ( integer "pass", color "value" ) version 1 apply state end declare
declare shader color "engine" ( shader "surface" ) version 1 apply material end declare
declare shader struct { color "outColor", color "outGlow" } "surface" (
        integer "mode" default 1, color "color" default 0.5 0.5 0.5 1.0, color "transparency",
        boolean "write" default on, vector "bump" ) version 1 apply material end declare
declare shader color "point" ( scalar "radius", color "color" default 1 1 1 1, scalar "intensity" default 1.0 )
    version 1 apply light end declare
declare shader color "writer" ( integer "buffer", color "value" ) version 1 end declare
options "opt"
    samples 0 1  shadow segments  trace depth 3 3 4  "shot label" "s010"
    state "stateA" ( ) "stateInit" ( "pass" 0, "value" 1000 0 0 0 )
end options
camera "cam"
    framebuffer "main" datatype "rgba_fp" primary on filtering on filename "p.exr" filetype "exr"
    framebuffer "depth" datatype "z" user on filtering off
    output "+rgba_fp,-z" "tif" "{LIBRARY}.tif"
    resolution 256 128  aspect 2.0  aperture 1.0  focal 1.5
end camera
data "all" "mask" ( "mask" "FF" ) end data
light "key" "point" ( "radius" 0.5, "intensity" 30, "color" 1 1 1 ) origin 0 0 0 disc 0 0 1 0.5 3 3 end light
instance "key_inst" "key" transform 1 0 0 0 0 1 0 0 0 0 1 0 -3 -5 -4 1 data "all" end instance
shader "custom1" "writer" ( "value" 0 1 0 1 )
shader "surface1" "surface" ( "color" = "custom1", "bump" 1 2 3 )
material "m" opaque "engine" ( "surface" "surface1" ) "writer" ( ) end material
object "quad" visible shadow trace
    group -1 -1 0  1 -1 0  1 1 0  -1 1 0  v 0  v 1  v 2  v 3  p "m" 0 1 2 3 end group
end object
instance "quadA" "quad" data "all" tag 1 end instance
instance "cam_inst" "cam" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -6 1 end instance
instgroup "world" "cam_inst" "key_inst" "quadA" end instgroup
render "world" "cam_inst" "opt"
)mi";

class PassesScene : public ::testing::Test {
protected:
    /// Numbers of a shader's parameters.
    const float* numbers(miTag shader) {
        return reinterpret_cast<const float*>(
            text.scene.database().find<FunctionElement>(shader)->function()->parameters);
    }
    SceneText text{passesScene};
};

TEST_F(PassesScene, IncrementalChangesKeepWhatTheyDoNotMention) {
    ASSERT_EQ(text.errors() + text.warnings(), "");
    ASSERT_EQ(text.renders.size(), 1u);
    EXPECT_EQ(text.renders[0].group, text.tag("world"));
    EXPECT_EQ(text.renders[0].cameraInstance, text.tag("cam_inst"));
    EXPECT_EQ(text.renders[0].options, text.tag("opt"));
    EXPECT_EQ(text.links, std::vector<std::string>{"build/shaders.so"});
    const auto& output = text.find<CameraElement>("cam")->outputs.at(0);
    EXPECT_EQ(output.filename, "build.tif");
    EXPECT_EQ(output.buffers.at(1).interpolate, std::optional<bool>(false));
    // Three numbers of a color leave its alpha 0.
    EXPECT_EQ(numbers(text.find<LightElement>("key")->light.shader)[4], 0.0f);
    const miTag surfaceBefore = text.tag("surface1");
    ASSERT_TRUE(text.read(R"mi(
incremental shader "surface1" "surface" ( "mode" 7 )
incremental light "key" "point" ( "intensity" 5 ) end light
incremental instance "quadA" transform 1 0 0 0 0 1 0 0 0 0 1 0 -2 0 0 1 end instance
incremental camera "cam" framebuffer "depth" filtering on  resolution 64 32  window -3 -2 99 20 end camera
incremental options "opt" samples 2 2 end options
incremental instgroup "world" "cam_inst" "quadA" end instgroup
incremental object "quad" group 0 0 0 1 0 0 1 1 0 v 0 v 1 v 2 c 0 1 2 end group end object
shader "head" "stateInit" ( "pass" 1 )
options "others" state = "head" "stateA" ( ) end options
incremental shader "head" "stateInit" ( "pass" 2 )
shader "pair" "stateInit" ( "pass" 3 ) "stateA" ( )
options "paired" state = "pair" end options
incremental options "paired" state = "pair" "stateA" ( ) end options
render "world" "cam_inst" "opt"
)mi")) << text.errors();
    EXPECT_EQ(text.warnings(), "");
    ASSERT_EQ(text.renders.size(), 2u);
    EXPECT_EQ(text.renders[1].number, 2);
    const auto* surface = text.find<FunctionElement>("surface1");
    EXPECT_EQ(surface->tag, surfaceBefore);
    EXPECT_EQ(surface->revision, 1u);
    EXPECT_EQ(words(surface->function()->parameters, 4)[0], 7u);
    EXPECT_EQ(numbers(surface->tag)[10], 1.0f);    // bump, as before
    EXPECT_NE(surface->function()->ghost_offs, 0); // and the connection
    EXPECT_EQ(text.find<InstanceElement>("quadA")->instance.label, 1u);
    EXPECT_EQ(text.find<InstanceElement>("quadA")->transform[12], -2.0f);
    const auto* camera = text.find<CameraElement>("cam");
    ASSERT_EQ(camera->framebuffers.size(), 2u);
    EXPECT_EQ(camera->framebuffers[1].filtering, std::optional<bool>(true));
    EXPECT_EQ(camera->framebuffers[1].datatype, "z");
    const auto& window = camera->camera.window;
    EXPECT_EQ((std::array{window.xl, window.yl, window.xh, window.yh}), (std::array{0, 0, 63, 20}));
    const auto* light = text.find<LightElement>("key");
    EXPECT_EQ(numbers(light->light.shader)[0], 0.5f);
    EXPECT_EQ(numbers(light->light.shader)[5], 5.0f);
    EXPECT_EQ(light->light.area, miLIGHT_DISC);
    EXPECT_EQ(text.find<OptionsElement>("opt")->options.trace_depth, 4);
    EXPECT_EQ(text.find<GroupElement>("world")->members.size(), 2u);
    EXPECT_EQ(text.find<ObjectElement>("quad")->triangleCount(), 1u);
    EXPECT_TRUE(text.find<ObjectElement>("quad")->object.visible);
    const auto* head = text.find<FunctionElement>("head"); // keeps its place in the list
    EXPECT_EQ(text.find<OptionsElement>("others")->options.state_func, head->tag);
    EXPECT_NE(head->function()->next_function, miNULLTAG);
    EXPECT_EQ(shaderList(text.scene.database(), text.tag("pair")).size(),
              3u); // a name refers to its whole list
}

} // namespace
} // namespace orca::scene
