// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

/// Largest difference, relative for values above 1.
float difference(const miColor& a, const miColor& b) {
    const auto one = [](float x, float y) { return std::abs(x - y) / std::max(1.0f, std::abs(y)); };
    return std::max({one(a.r, b.r), one(a.g, b.g), one(a.b, b.b)});
}
void expectNear(const miColor& a, const miColor& b, float tolerance, const std::string& what) {
    EXPECT_LE(difference(a, b), tolerance)
        << what << ": " << a.r << ' ' << a.g << ' ' << a.b << ", not " << b.r << ' ' << b.g << ' ' << b.b;
}

constexpr const char* LAYERS[] = {"ambient",    "diffuse",    "specular", "incandescence",
                                  "reflection", "refraction", "indirect"};

/// Where the compositor adds up the first level: components of that level alone, the opaque ones by opacity.
void addComponents(TestScene& scene) {
    scene.baseState = "\"additivePasses\" on";
    scene.passes = {"beauty"};
    scene.passFlags = {""};
    for (const std::string layer : LAYERS) {
        scene.passes.push_back(layer);
        const bool opaque = layer == "ambient" || layer == "diffuse" || layer == "indirect";
        scene.passFlags.push_back(std::string("\"shadowed\" on") +
                                  (opaque ? ", \"weightByOpacity\" on" : ""));
    }
}

std::string shaderOnly(const std::string& name, const std::string& shader, const std::string& parameters) {
    return fmt::format("shader \"{}\" \"{}\" ( {} )\n", name, shader, parameters);
}

/// A layer of which every member is its material's.
std::string layerOf(const std::string& material) {
    return fmt::format("{{ \"color\" = \"{0}.outColor\", \"transparency\" = \"{0}.outTransparency\", "
                       "\"glowColor\" = \"{0}.outGlowColor\" }}",
                       material);
}

/// Paint under lacquer under a transparent film, which partly refracts, before a wall, beside a mirror, with
/// shadows.
TestScene paintedWall(const std::string& mode, const std::string& layers) {
    TestScene scene;
    scene.width = scene.height = 24;
    scene.perspective = true;
    scene.traceDepth = "3 4 6";
    scene.contents =
        lambert("wall", "\"color\" 0.7 0.6 0.5 1, \"ambientColor\" 0.1 0.1 0.12 1") +
        surface("mirror", "orcaVelaPhong",
                "\"color\" 0 0 0 1, \"specularColor\" 1 1 1 1, \"reflectivity\" 0.8") +
        shaderOnly(
            "lacquer", "orcaVelaBlinn",
            "\"color\" 0 0 0 1, \"transparency\" 0.8 0.9 0.7 1, \"eccentricity\" 0.3, \"reflectivity\" 0.7, "
            "\"compositeScalarA\" 0.3") +
        shaderOnly("flakes", "orcaVelaPhong",
                   "\"color\" 0.6 0.2 0.1 1, \"transparency\" 0.4 0.4 0.2 1, \"cosinePower\" 5, "
                   "\"reflectivity\" 0.3, "
                   "\"ambientColor\" 0.1 0.2 0 1, \"incandescence\" 0.02 0 0.03 1") +
        shaderOnly("jelly", "orcaVelaLambert",
                   "\"color\" 0.2 0.6 0.3 1, \"transparency\" 0.5 0.6 0.3 1, \"refractionsOn\" on, "
                   "\"refractiveIndex\" 1.2, \"translucence\" 0.5") +
        shaderOnly(
            "paint", "orcaVelaLambert",
            "\"color\" 0.2 0.3 0.7 1, \"transparency\" 0.2 0.3 0.1 1, \"ambientColor\" 0.05 0.1 0.1 1") +
        surface("painted", "orcaVelaLayeredShader",
                "\"compositingMode\" " + mode + ", \"layers\" [ " + layers + " ]", "0.2 0.2 0.2 1") +
        card("back", "wall", 0, 0, -2, 6) + card("panel", "painted", 0, -0.2f, 0, 1.2f) +
        card("front", "painted", 0.6f, 0.5f, 1, 0.5f) + card("glass", "mirror", -1.2f, 0.6f, 0.5f, 0.5f) +
        card("behind", "painted", 0, 0, 14, 4) +
        directionalLight("sun", "\"intensity\" 0.9", "-0.5 -0.3 -1") +
        pointLight("lamp", "\"intensity\" 0.8, \"color\" 1 0.8 0.6 1", 0.8f, 0.9f, 4);
    scene.members = {"back", "panel", "front", "glass", "behind", "sun_inst", "lamp_inst"};
    addComponents(scene);
    return scene;
}

void expectIdentities(const RenderedScene& picture, const std::string& what) {
    int bright[std::size(LAYERS)] = {};
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const miColor seen = picture.pixel("main", x, y);
            expectNear(picture.pixel("beauty", x, y), seen, 1e-4f,
                       fmt::format("{} beauty {} {}", what, x, y));
            miColor sum{};
            for (std::size_t i = 0; i < std::size(LAYERS); ++i) {
                const miColor layer = picture.pixel(LAYERS[i], x, y);
                sum = {sum.r + layer.r, sum.g + layer.g, sum.b + layer.b, 1};
                bright[i] += layer.r + layer.g + layer.b > 0.01f;
            }
            expectNear(sum, seen, 1e-4f, fmt::format("{} sum {} {}", what, x, y));
        }
    for (const int i : {0, 1, 2, 4}) EXPECT_GT(bright[i], 20) << what << ' ' << LAYERS[i];
}

TEST(LayeredMaterials, KeepBothIdentitiesInBothModes) {
    const std::string layers = layerOf("lacquer") + ", " + layerOf("flakes") + ", " + layerOf("paint");
    for (const std::string mode : {"0", "1"}) {
        TestScene scene = paintedWall(mode, layers);
        scene.extraOptions = "finalgather on finalgather accuracy 4";
        scene.width = scene.height = 16;
        const RenderedScene picture(scene.text());
        ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
        expectIdentities(picture, "mode " + mode);
    }
}

TEST(LayeredMaterials, KeepBothIdentitiesWithRefractionAndConstantTransparency) {
    const std::string layers =
        "{ \"color\" = \"flakes.outColor\", \"transparency\" 0.7 0.5 0.9 1 }, " + layerOf("jelly");
    for (const std::string mode : {"0", "1"}) {
        const RenderedScene picture(paintedWall(mode, layers).text());
        ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
        expectIdentities(picture, "mode " + mode);
    }
}

/// A stack of layers is the stack of cards that it stands for.
TEST(LayeredMaterials, LookLikeTheCardsTheyStandFor) {
    const auto sceneOf = [](bool asLayers) {
        TestScene scene;
        const char* film =
            "\"color\" 0.4 0.8 0.3 1, \"transparency\" 0.6 0.5 0.2 1, \"ambientColor\" 0.1 0 0.1 1";
        const char* paint = "\"color\" 0.9 0.2 0.1 1, \"ambientColor\" 0 0.3 0.2 1";
        scene.contents = shaderOnly("a", "orcaVelaLambert", film) +
                         shaderOnly("b", "orcaVelaLambert", paint) + lambert("film", film, "1 1 1 1") +
                         lambert("paint", paint) +
                         surface("both", "orcaVelaLayeredShader",
                                 "\"layers\" [ " + layerOf("a") + ", " + layerOf("b") + " ]") +
                         directionalLight("sun", "\"intensity\" 0.7", "0 0 -1");
        scene.contents += asLayers ? card("one", "both", 0, 0, 0, 1)
                                   : card("one", "film", 0, 0, 0.5f, 1) + card("two", "paint", 0, 0, 0, 1);
        scene.members = {"one", "sun_inst"};
        if (!asLayers) scene.members.push_back("two");
        return scene.text();
    };
    const RenderedScene layered(sceneOf(true)), cards(sceneOf(false));
    ASSERT_TRUE(layered.complaints().empty()) << layered.complaints().front();
    EXPECT_GT(cards.pixel("main", 8, 8).r, 0.1f);
    for (int i = 0; i < 16; ++i)
        expectNear(layered.pixel("main", i, i), cards.pixel("main", i, i), 1e-6f, std::to_string(i));
}

/// The shadow of a layered card, through its own transmission.
TEST(LayeredMaterials, CastTheShadowOfTheirTransmission) {
    TestScene scene;
    scene.contents =
        lambert("floor", "\"color\" 1 1 1 1, \"diffuse\" 1") +
        "shader \"stack\" \"orcaVelaLayeredShader\" ( \"layers\" [ { \"transparency\" 0.5 1 0.25 1 }, "
        "{ \"transparency\" 0.5 0.5 1 1 } ] )\n"
        "material \"film\" \"orcaVelaShadingEngine\" ( \"surfaceShader\" \"stack\" )\n"
        "shadow \"orcaVelaShadow\" ( \"transparency\" = \"stack.outTransparency\" ) end material\n" +
        card("ground", "floor", 0, 0, 0, 4) + card("sheet", "film", 4, 0, 4, 1) +
        directionalLight("sun", "", "-1 0 -1");
    scene.members = {"ground", "sheet", "sun_inst"};
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    const float lit = std::sqrt(0.5f);
    expectNear(picture.pixel("main", 8, 8), {0.25f * lit, 0.5f * lit, 0.25f * lit, 1}, 1e-5f, "shadow");
    expectNear(picture.pixel("main", 8, 15), {lit, lit, lit, 1}, 1e-5f, "beside");
}

/// The map is a picture of its own coordinates, so that what is seen says where it was looked up.
TEST(ShadingMaps, LookUpWhereTheShadedColourSays) {
    TestScene scene;
    scene.baseState = "\"additivePasses\" on";
    scene.passes = {"beauty"};
    scene.contents =
        shaderOnly("ramp", "velaRamp",
                   "\"type\" 1, \"entries\" [ { \"position\" 0, \"value\" 0 0 0 1, \"interpolation\" 1 }, "
                   "{ \"position\" 1, \"value\" 1 0.5 0.25 1, \"interpolation\" 1 } ]") +
        shaderOnly("clay", "orcaVelaLambert", "\"color\" 0.5 0.5 0.5 1, \"diffuse\" 1") +
        surface(
            "toon", "orcaVelaShadingMap",
            "\"inputColor\" = \"clay.outColor\", \"mapColor\" = \"ramp\", \"uChannel\" 2, \"vChannel\" 2") +
        card("panel", "toon", 0, 0, 0, 4) + pointLight("lamp", "", 0, 0, 1);
    scene.members = {"panel", "lamp_inst"};
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    for (int x = 0; x < 16; ++x) {
        const float from = (static_cast<float>(x) + 0.5f) / 4.0f - 2.0f;
        const float value = 0.5f / std::sqrt(1.0f + from * from + 0.125f * 0.125f);
        expectNear(picture.pixel("main", x, 8), {value, 0.5f * value, 0.25f * value, 1}, 1e-4f,
                   std::to_string(x));
        expectNear(picture.pixel("beauty", x, 8), picture.pixel("main", x, 8), 1e-6f, "beauty");
    }
}

TEST(SurfaceShaders, ShowTheirColourAloneAndWhatIsBehind) {
    TestScene scene;
    scene.passes = {"beauty", "diffuse"};
    scene.contents =
        surface("flat", "orcaVelaSurfaceShader", "\"color\" 0.3 0.1 0.2 1, \"transparency\" 0.5 0.25 0 1") +
        lambert("glow", "\"color\" 0 0 0 1, \"incandescence\" 1 1 1 1") + card("front", "flat", 0, 0, 1, 4) +
        card("back", "glow", 0, 0, 0, 4) + directionalLight("sun", "", "0 0 -1");
    scene.members = {"front", "back", "sun_inst"};
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    expectNear(picture.pixel("main", 8, 8), {0.8f, 0.35f, 0.2f, 1}, 1e-6f, "picture");
    expectNear(picture.pixel("beauty", 8, 8), {0.8f, 0.35f, 0.2f, 1}, 1e-6f, "beauty");
}

} // namespace
} // namespace orca::test
