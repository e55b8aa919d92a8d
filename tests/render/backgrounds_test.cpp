// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

miColor mixed(const miColor& a, const miColor& b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t, 1};
}

constexpr int texels = 8;

/// The source picture: something else in every texel, with alphas from 0 to 1.
miColor source(int x, int y) {
    const auto byte = [](int v) { return static_cast<float>(v & 255) / 255.0f; };
    return {byte(x * 36), byte(y * 33), byte(x * 17 + y * 19), byte(x == 7 ? 255 : x * 30 + y * 5)};
}

std::string sourceTexture() {
    std::string text = fmt::format("color texture \"source\" [ {0} {0} ]\n'", texels);
    for (int y = 0; y < texels; ++y)
        for (int x = 0; x < texels; ++x) {
            const miColor c = source(x, y);
            for (const float v : {c.r, c.g, c.b, c.a}) text += fmt::format("{:02x}", std::lround(v * 255));
        }
    return text + "'\n";
}

/// A plane of half size 2 across the orthographic view, with texture coordinates.
std::string plane(const std::string& name, const std::string& parameters, float z) {
    return fmt::format(
        "material \"{0} material\" \"orcaVelaImagePlane\" ( \"imageTexture\" \"source\", {1} ) end material\n"
        "object \"{0}_mesh\" visible on trace on shadow off group\n"
        "-2 -2 0 2 -2 0 2 2 0 -2 2 0  0 0 0 1 0 0 1 1 0 0 1 0\n"
        "v 0 t 4 v 1 t 5 v 2 t 6 v 3 t 7\np \"{0} material\" 0 1 2 3\nend group end object\n"
        "instance \"{0}\" \"{0}_mesh\" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 {2} 1 end instance\n",
        name, parameters, -z);
}

std::string glowingCard(const std::string& name, const std::string& color, float x, float z, float half) {
    return glowing(name + "_m", color) + card(name, name + "_m", x, 0, z, half);
}

template <class Expected>
void expectPicture(const TestScene& scene, const Expected& expected, const std::string& what) {
    const RenderedScene picture(scene);
    picture.eachPixel([&](int x, int y) {
        expectColor(picture.pixel("main", x, y), expected(source(x / 2, y / 2), x, y), 1e-5f, what);
    });
    expectLayersAddUp(picture, {"beauty"});
}

/// In front of the scene the passes of what is behind are dimmed with the picture.
TEST(ImagePlanes, LieOverTheSceneWithGainAndOffset) {
    TestScene scene;
    scene.passes = {"beauty", "incandescence"};
    scene.contents =
        sourceTexture() +
        plane("front", "\"colorGain\" 0.5 2 1 1, \"colorOffset\" 0.1 0 0.2 0, \"alphaGain\" 0.5", 5) +
        plane("hidden", "\"displayMode\" 0", 6) + glowingCard("wall", "0.9 0.5 0.1", 0, 0, 4);
    const miColor wall{0.9f, 0.5f, 0.1f, 1};
    const auto over = [&](const miColor& c, int, int) {
        return mixed(wall, {0.5f * c.r + 0.1f, 2 * c.g, c.b + 0.2f, 1}, 0.5f * c.a);
    };
    expectPicture(scene, over, "traced");
    const RenderedScene picture(scene);
    expectColor(picture.pixel("incandescence", 4, 4), mixed(wall, {}, 0.5f * source(2, 2).a), 1e-5f, "pass");

    scene.extraOptions = "scanline rapid"; // the renderer composites the layers itself
    const RenderedScene composited(scene);
    for (int i = 0; i < 16; ++i)
        expectColor(composited.pixel("main", i, i), over(source(i / 2, i / 2), i, i), 1e-5f, "composited");
}

TEST(ImagePlanes, AreSeenInMirrorsOnlyWhenTheyAskForIt) {
    for (const int visible : {0, 1}) {
        TestScene scene;
        scene.passes = {"beauty", "reflection"};
        // The mirror looks back past the eye, at a plane before a glowing wall.
        scene.contents =
            sourceTexture() +
            plane("plate", fmt::format("\"displayMode\" 2, \"reflectionVisible\" {}", visible), 15) +
            glowingCard("wall", "0.9 0.5 0.1", 0, 20, 4) + mirror("mirror", 0.5f) +
            card("glass", "mirror", 0, 0, 0, 4);
        expectPicture(
            scene,
            [&](const miColor& c, int, int) {
                return visible ? miColor{c.r * 0.5f, c.g * 0.5f, c.b * 0.5f, 1}
                               : miColor{0.45f, 0.25f, 0.05f, 1};
            },
            "visible " + std::to_string(visible));
    }
}

/// A floor that stands in for the plate, seen straight from above, with a card over it that lets a quarter of
/// the light through, and a plate behind it.
TestScene plateScene(const std::string& standIn, const std::string& things) {
    TestScene scene;
    scene.passes = {"beauty", "reflection", "custom", "beautyNoReflectionRefraction"};
    scene.passFlags = {"", "\"shadowed\" on", "\"shadowed\" on", "\"shadowed\" on"}; // the level that is seen
    scene.traceDepth = "3 3 4";
    scene.beforeCamera =
        sourceTexture() + plane("plate", "\"displayMode\" 2", -5) +
        "data \"planes\" \"orcaImagePlanes\" ( \"planes\" [ \"plate\" ] )\ndata \"cam:fbdata\" end data\n";
    scene.cameraStatements = "data \"planes\"\n";
    scene.contents = surface("ground", "orcaVelaUseBackground", "\"shadowBuffer\" 0, " + standIn) +
                     card("floor", "ground", 0, 0, 0, 4) + glowingCard("between", "5 5 5", 0, -2, 1) + things;
    return scene;
}

TEST(UseBackgrounds, HoldShadowAndReflectionApart) {
    const TestScene scene = plateScene(
        "\"reflectivity\" 0.25, \"specularColor\" 1 0.5 1 1, \"ambientColor\" 0.2 0.2 0.2 1",
        directionalLight("sun", "", "-1 0 -1") + lambert("film", "\"color\" 0 0 0 1", "0.25 0.5 0.25 1") +
            card("occluder", "film", 3, 0, 3, 0.5f) +
            // Faces the floor; the eye, between it and the floor, sees it in the floor alone.
            glowingCard("lid", "0.8 0.6 0.4", 0, 30, 1));
    const RenderedScene picture(scene);
    const float lit = std::sqrt(0.5f);
    picture.eachPixel([&](int x, int y) {
        const miColor plate = source(x / 2, y / 2);
        const bool inShadow = x >= 6 && x < 10 && y >= 6 && y < 10; // the card's place, moved by its height
        const bool inLid = x >= 4 && x < 12 && y >= 4 && y < 12;
        const auto left = [&](float t) { return inShadow ? (t * lit + 0.2f) / (lit + 0.2f) : 1.0f; };
        const miColor dry{plate.r * left(0.25f), plate.g * left(0.5f), plate.b * left(0.25f), 1};
        const miColor reflection = inLid ? miColor{0.2f, 0.075f, 0.1f, 0} : miColor{};
        expectColor(picture.pixel("custom", x, y), {1 - left(0.25f), 1 - left(0.5f), 1 - left(0.25f), 1},
                    1e-5f, "shadow");
        expectColor(picture.pixel("reflection", x, y), reflection, 1e-5f, "reflection");
        expectColor(picture.pixel("beautyNoReflectionRefraction", x, y), dry, 1e-5f, "dry");
        expectColor(picture.pixel("main", x, y), dry + reflection, 1e-5f, "picture");
    });
    expectLayersAddUp(picture, {"beauty"});
}

/// Two things of the plate, one above the other: the plate has the shadow of the one on the other already.
TEST(UseBackgrounds, CastNoShadowsOnOneAnotherButOnThings) {
    const std::string shadow =
        "shadow \"orcaVelaShadow\" ( \"transparency\" = \"ground_surface.outTransparency\" )";
    const TestScene scene = plateScene("\"reflectivity\" 1",
                                       directionalLight("sun", "", "-1 0 -1") +
                                           "material \"table\" \"orcaVelaShadingEngine\" ( \"surfaceShader\" "
                                           "\"ground_surface\" ) " +
                                           shadow + " end material\n" + card("top", "table", 3, 0, 3, 0.5f));
    expectPicture(
        scene, [](const miColor& c, int, int) { return c; }, "stand-ins");

    TestScene onThing = scene;
    onThing.contents +=
        lambert("clay", "\"color\" 1 1 1 1, \"diffuse\" 1") + card("thing", "clay", 0, 0, 0.01f, 4);
    const RenderedScene picture(onThing);
    expectColor(picture.pixel("main", 8, 8), {0, 0, 0, 1}, 1e-5f, "shadow");
    EXPECT_NEAR(picture.pixel("main", 2, 8).r, std::sqrt(0.5f), 1e-4f);
}

} // namespace
} // namespace orca::test
