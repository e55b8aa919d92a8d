// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

namespace orca::test {
namespace {

/// Hairs across the picture under a sky of radiance 1, which is also behind them.
TestScene furnace(const std::string& shader, const std::string& parameters, const std::string& hairs) {
    const std::string sky = "\"zenith\" 1 1 1 1, \"horizon\" 1 1 1 1, \"ground\" 1 1 1 1";
    TestScene scene;
    scene.samples = "2 2";
    scene.traceDepth = "14 14 16";
    scene.cameraStatements = "environment \"velaEnvironmentLatLong\" ( " + sky + " )";
    scene.contents =
        surface("hair", shader, parameters) + "light \"sky\" \"velaDomeLight\" ( " + sky +
        " ) user 8 8 end light\ninstance \"sky_inst\" \"sky\" end instance\n"
        "object \"hairs\" visible shadow trace hair " +
        hairs + " end hair end object\ninstance \"hairs_inst\" \"hairs\" material \"hair\" end instance\n";
    return scene;
}

float meanOf(const RenderedScene& picture) {
    float sum = 0.0f;
    picture.eachPixel([&](int x, int y) { sum += picture.pixel("main", x, y).g / 256.0f; });
    return sum;
}

struct Lossless {
    const char* shader;
    std::string parameters;
    float expected;
};

TEST(HairFurnace, OneLosslessHairIsInvisible) {
    const std::string physical = "\"color\" 1 1 1 1, \"scatterRays\" 0";
    const std::string rough = ", \"longitudinalRoughness\" 0.7, \"azimuthalRoughness\" 0.6";
    // A hair that receives light by the sine of its angle receives pi times the light of a Lambert card.
    const std::string classic =
        "\"model\" 0, \"color\" 1 1 1 1, \"diffuse\" 0.3183099, \"primaryColor\" 0 0 0 1, "
        "\"secondaryColor\" 0 0 0 1";
    const Lossless cases[] = {
        {"orcaVelaHairShader", physical + rough, 1.0f},
        {"orcaVelaHairShader", physical + rough + ", \"cuticleTilt\" 8, \"refractiveIndex\" 1.3", 1.0f},
        {"orcaVelaHairShader", physical + rough + ", \"transparency\" 0.4 0.4 0.4 1", 1.0f},
        {"orcaVelaHairShader", classic, 1.0f},
        {"orcaVelaHairShader", classic + ", \"valueVariation\" 0, \"translucence\" 0.3183099", 1.5f},
        {"orcaVelaFur",
         "\"color\" 1 1 1 1, \"tipColor\" 1 1 1 1, \"diffuse\" 0.3183099, \"specularColor\" 0 0 0 1, "
         "\"valueVariation\" 0, \"selfShadow\" 0",
         1.0f},
    };
    for (const Lossless& c : cases)
        for (const char* round : {"", "round "}) {
            TestScene scene = furnace(c.shader, c.parameters,
                                      std::string(round) + "radius 3 scalars 6 -1 -20 0 1 20 0 hairs 1 0");
            scene.contents += "shader \"none\" \"orcaVelaShadow\" ( \"transparency\" 1 1 1 1 )\n";
            scene.shadow = "off";
            const RenderedScene picture(scene);
            EXPECT_NEAR(meanOf(picture), c.expected, 0.02f) << c.parameters << ' ' << round;
        }
}

TEST(HairFurnace, AThicketOfLosslessHairsIsInvisible) {
    std::string numbers, starts;
    for (int i = 0; i < 60; ++i) {
        const double x = -2 + 4 * std::fmod(i * 0.754878, 1.0), z = -1 + 2 * std::fmod(i * 0.569840, 1.0);
        numbers += fmt::format("{} -9 {} {} 9 {} ", x - 1, z, x + 1, z);
        starts += fmt::format("{} ", 6 * i);
    }
    const auto light = [&](int rays, int limit) {
        const RenderedScene picture(furnace(
            "orcaVelaHairShader",
            fmt::format("\"color\" 1 1 1 1, \"longitudinalRoughness\" 0.7, \"azimuthalRoughness\" 0.7, "
                        "\"scatterRays\" {}, \"scatterLimit\" {}",
                        rays, limit),
            "radius 0.05 scalars 360 " + numbers + "hairs 60 " + starts));
        return meanOf(picture);
    };
    EXPECT_NEAR(light(1, 16), 1.0f, 0.02f);
    EXPECT_NEAR(light(3, 16), 1.0f, 0.02f);
    EXPECT_LT(light(1, 1), 0.97f);
    EXPECT_LT(light(0, 16), light(1, 1));
}

TEST(HairShadow, FollowsOpacityAlongTheHair) {
    TestScene scene;
    scene.passes = {"directIrradiance"};
    scene.passFlags = {"\"shadowed\" on"};
    // A wide hair from the left to the right, between a card and the light, out of the camera's sight.
    scene.contents = white() + card("c", "white", 0, 0, 0, 2) + directionalLight("sun", "", "0 0 -1") +
                     "shader \"hs\" \"orcaVelaHairShader\" ( \"shadowDensity\" 0.5, \"transparency\" 0 0.5 1 "
                     "1, \"tipThickness\" 0, "
                     "\"opacityRamp\" [ { \"position\" 0, \"value\" 0.8, \"interpolation\" 1 } ] )\n"
                     "material \"hair\" \"orcaVelaShadingEngine\" ( \"surfaceShader\" \"hs\" ) shadow "
                     "\"orcaVelaShadow\" ( "
                     "\"transparency\" = \"hs.outTransparency\" ) end material\n"
                     "object \"o\" visible off shadow on hair radius 4 scalars 6 -2 0 20 2 0 20 hairs 1 0 "
                     "end hair end object\n"
                     "instance \"i\" \"o\" material \"hair\" end instance\n";
    const RenderedScene picture(scene);
    for (const int x : {1, 7, 14}) {
        const float along = (float(x) + 0.5f) / 16, opacity = 0.5f * 0.8f * (1 - along);
        expectColor(picture.pixel("directIrradiance", x, 8), {1 - opacity, 1 - 0.5f * opacity, 1, 1}, 2e-3f);
    }
}

} // namespace
} // namespace orca::test
