// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

namespace {

using namespace orca;
using namespace orca::test;

/// Cards before a light, those of the geometry shader or the same in the scene language.
TestScene cardScene(const std::string& cards) {
    TestScene scene;
    scene.width = scene.height = 32;
    scene.passes = {"diffuse"};
    scene.contents =
        white() + pointLight("lamp", "\"color\" 1 1 1 1, \"intensity\" 3", 0.3f, 0.2f, 2) + cards;
    return scene;
}

std::string grown(int fault) {
    return fmt::format("instance \"grown\" geometry \"testCards\" ( \"material\" \"white\", \"fault\" {} ) "
                       "end instance\n",
                       fault);
}

TEST(GeometryShader, MakesWhatTheSceneLanguageWouldSay) {
    const std::string withHole =
        "object \"frame_mesh\" visible shadow trace group\n"
        "-0.5 -0.5 0 0.5 -0.5 0 -0.5 0.5 0 0.5 0.5 0 -0.25 -0.25 0 0.25 -0.25 0 -0.25 0.25 0 0.25 0.25 0\n"
        "v 0 v 1 v 2 v 3 v 4 v 5 v 6 v 7\np \"white\" 0 1 3 2 hole 4 6 7 5\nend group end object\n"
        "instance \"frame\" \"frame_mesh\" end instance\n";
    const RenderedScene written(cardScene(card("left", "white", -1, 0, 0, 0.5f) +
                                          card("right", "white", 1, 0.5f, 0, 0.5f) + withHole));
    // Two pictures of one scene: each runs the shader anew, and leaves the scene as it was.
    const TestScene scene = cardScene(grown(0));
    const std::string text = scene.text();
    const RenderedScene made(text + text.substr(text.rfind("render ")));
    EXPECT_EQ(made.complaints(), std::vector<std::string>());
    ASSERT_EQ(made.pictures(), 2u);
    for (const std::string buffer : {"main", "diffuse"})
        for (const std::size_t picture : {0u, 1u})
            made.eachPixel([&](int x, int y) {
                expectColor(made.pixel(picture, buffer, x, y), written.pixel(buffer, x, y), 1e-5f, buffer);
            });
    EXPECT_GT(written.pixel("diffuse", 8, 16).r, 0.1f);
    EXPECT_EQ(written.pixel("diffuse", 16, 16).r, 0.0f);
}

TEST(GeometryShader, FaultsAreNamedAndHarmless) {
    const std::string messages[] = {
        "instance \"grown\": its geometry shaders made nothing",
        "mi_api_vertex_normal_add: there is no vector 9",
        "takes vertex 8, but there are 8, counted from 0",
        "mi_api_object_group_end: a polygon is still open",
        "is a material, no object, light, camera, instance or instance group",
    };
    for (int fault = 1; fault <= 5; ++fault) {
        const RenderedScene picture(cardScene(grown(fault)).text());
        EXPECT_TRUE(picture.logged(messages[fault - 1])) << messages[fault - 1];
    }
    const RenderedScene outside(cardScene(card("c", "white", 0, 0, 0, 1)).text());
    EXPECT_EQ(mi_api_object_begin(nullptr), nullptr);
    EXPECT_TRUE(outside.logged("mi_api_object_begin: only geometry shaders make scene elements"));
}

} // namespace
