// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

namespace orca::test {
namespace {

/// A material that is lit and lights: its lamp stands at the world's origin, lifted by its own origin.
const std::string lantern = R"mi(
declare phenomenon material "lantern" ( color "tint" default 0 0 1 1, scalar "power" default 0 )
    version 1
    light "lamp" "orcaVelaPointLight" ( "intensity" = interface "power", "decayRate" 0 ) origin 0 0 5 end light
    instance "lamp here" "lamp" end instance
    shader "surface" "orcaVelaLambert" ( "color" 1 1 1 1, "diffuse" 1, "incandescence" = interface "tint" )
    material "skin" "orcaVelaShadingEngine" ( "surfaceShader" "surface" ) end material
    root material "skin"
end declare
)mi";

TEST(Phenomena, ShineWithTheLightsInsideThem) {
    TestScene scene;
    scene.contents = white() + pointLight("lamp", "\"intensity\" 0.5, \"decayRate\" 0", 0, 0, 5) +
                     card("wall", "white", 0, 0, 0, 2);
    const float plain = RenderedScene(scene).middle().r;
    EXPECT_GT(plain, 0.4f);

    scene.contents = lantern + "shader \"lit\" \"lantern\" ( \"tint\" 0 0 0 1, \"power\" 0.5 )\n" +
                     "shader \"idle\" \"lantern\" ( \"power\" 100 )\n" + card("wall", "lit", 0, 0, 0, 2);
    EXPECT_NEAR(RenderedScene(scene).middle().r, plain, 1e-6f); // and the one that nothing uses stays dark
}

TEST(Phenomena, AttachToTheCameraForTheirPicturesOnly) {
    TestScene scene;
    scene.beforeCamera = R"mi(
declare phenomenon material "sky skin" ( color "sky" ) version 1
    shader "surface" "orcaVelaLambert" ( "color" 0 0 0 1 )
    material "skin" "orcaVelaShadingEngine" ( "surfaceShader" "surface" ) end material
    environment "velaEnvironmentLatLong" (
        "zenith" = interface "sky", "horizon" = interface "sky", "ground" = interface "sky" )
    root material "skin"
end declare
declare phenomenon "studio" ( color "sky", scalar "power" ) version 1
    environment "velaEnvironmentLatLong" (
        "zenith" = interface "sky", "horizon" = interface "sky", "ground" = interface "sky" )
    light "lamp" "orcaVelaPointLight" ( "intensity" = interface "power", "decayRate" 0 ) origin 0 0 5 end light
    instance "lamp here" "lamp" end instance
end declare
shader "own sky" "velaEnvironmentLatLong" ( "zenith" 0 0 1 1, "horizon" 0 0 1 1, "ground" 0 0 1 1 )
)mi";
    scene.cameraStatements = "environment = \"own sky\"\n";
    scene.contents = white() + "shader \"red sky\" \"sky skin\" ( \"sky\" 1 0 0 1 )\n" +
                     card("plain", "white", 0, 0, 0, 0.5f) + card("skied", "red sky", 0, 0, 0, 0.5f);
    scene.members = {"plain"};
    const RenderedScene pictures(scene.text() + R"mi(
instgroup "other" "cam_inst" "skied" end instgroup
render "other" "cam_inst" "opt"
render "world" "cam_inst" "opt"
shader "rig" "studio" ( "sky" 0 1 0 1, "power" 0.5 )
render "world" "cam_inst" "opt"
)mi");
    ASSERT_EQ(pictures.pictures(), 4u);
    const auto expectSky = [&](std::size_t picture, const miColor& sky) {
        expectColor(pictures.pixel(picture, "main", 0, 0), sky, 0);
    };
    expectSky(0, {0, 0, 1, 1});
    expectSky(1, {1, 0, 0, 1});
    expectSky(2, {0, 0, 1, 1}); // as if the other picture had never been
    EXPECT_EQ(pictures.pixel(2, "main", 8, 8).r, 0.0f);
    expectSky(3, {0, 1, 0, 1});
    EXPECT_GT(pictures.pixel(3, "main", 8, 8).r, 0.4f);
}

TEST(Phenomena, ThatNothingUsesNeedNoLibrary) {
    TestScene scene;
    scene.contents = "declare shader color \"elsewhere\" ( ) version 1 end declare\n"
                     "declare phenomenon material \"foreign\" ( ) version 1\n"
                     "material \"skin\" \"elsewhere\" ( ) displace \"elsewhere\" ( ) end material\n"
                     "root material \"skin\" end declare\n" +
                     lambert("white", "\"color\" 1 1 1 1") + card("wall", "white", 0, 0, 0, 1);
    const RenderedScene quiet(scene);
    scene.contents += "shader \"used\" \"foreign\" ( )\n";
    EXPECT_TRUE(RenderedScene(scene.text()).logged("no linked library has the shader \"elsewhere\""));
}

} // namespace
} // namespace orca::test
