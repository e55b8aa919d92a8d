// SPDX-License-Identifier: Apache-2.0
/// With additivePasses the layers that a compositor adds up are the picture, shadowed and shadow are
/// unshadowed, and alpha is coverage.
#include "rendered_scene.h"
#include "scene_parts.h"

#include <algorithm>

namespace orca::test {
namespace {

constexpr float tolerance = 1e-5f;
constexpr const char* shadowPasses[][3] = {{"diffuse", "shadow", "diffuseNoShadow"},
                                           {"directIrradiance", "rawShadow", "directIrradianceNoShadow"}};

struct SceneCase {
    const char* name;
    std::string contents;
    std::vector<std::string> lit; ///< layers that a part of the picture is in
    bool perspective = false;
    std::string extraOptions = {};
    std::string camera = TestScene().camera;
    friend void PrintTo(const SceneCase& scene, std::ostream* out) { *out << scene.name; }
};

std::string shader(const std::string& name, const std::string& of, const std::string& parameters) {
    return fmt::format("shader \"{}\" \"{}\" ( {} )\n", name, of, parameters);
}
/// A layer of which every member is its material's.
std::string layerOf(const std::string& material) {
    return fmt::format("{{ \"color\" = \"{0}.outColor\", \"transparency\" = \"{0}.outTransparency\", "
                       "\"glowColor\" = \"{0}.outGlowColor\" }}",
                       material);
}

const std::string softSun = directionalLight("sun", "\"lightAngle\" 6, \"shadowRays\" 4", "-0.3 -0.2 -1");
const std::string softLamp =
    pointLight("lamp", "\"lightRadius\" 0.6, \"shadowRays\" 4, \"intensity\" 0.7", 1, 0.5f, 4);
const std::string floorAndLights =
    lambert("floor", "\"color\" 0.9 0.8 0.7 1, \"ambientColor\" 0.05 0.1 0 1") +
    card("ground", "floor", 0, 0, 0, 8) + softSun + softLamp;

/// All materials before one another: Lambert boards behind glass, mirrors that see mirrors, hard lights.
std::string gallery() {
    return lambert("wall", "\"color\" 0.7 0.6 0.5 1, \"ambientColor\" 0.1 0.1 0.12 1") +
           surface("phong", "orcaVelaPhong",
                   "\"color\" 0.2 0.3 0.7 1, \"specularColor\" 0.9 0.8 0.7 1, \"reflectivity\" 0.6, "
                   "\"cosinePower\" 8, \"ambientColor\" 0.1 0 0 1") +
           surface("phongE", "orcaVelaPhongE",
                   "\"color\" 0.1 0.5 0.2 1, \"whiteness\" 0.05, \"highlightSize\" 0.9") +
           surface("blinn", "orcaVelaBlinn",
                   "\"color\" 0.6 0.2 0.1 1, \"incandescence\" 0.02 0.01 0.03 1, \"eccentricity\" 0.5, "
                   "\"reflectivity\" 0.8") +
           surface("aniso", "orcaVelaAnisotropic",
                   "\"color\" 0.3 0.3 0.1 1, \"roughness\" 0.6, \"angle\" 25") +
           surface("glass", "orcaVelaBlinn",
                   "\"color\" 0.1 0.1 0.1 1, \"transparency\" 0.6 0.7 0.8 1, \"refractionsOn\" on, "
                   "\"refractiveIndex\" 1.5, \"eccentricity\" 0.4",
                   "0.6 0.7 0.8 1") +
           surface("film", "orcaVelaPhong",
                   "\"color\" 0.9 0.3 0.3 1, \"transparency\" 0.5 0.5 0.5 1, \"cosinePower\" 3, "
                   "\"ambientColor\" 0 0.2 0 1",
                   "0.5 0.5 0.5 1") +
           card("back", "wall", 0, 0, -2, 6) + turnedCard("floor", "phong", 0, -1.6f, 0, 6, -80) +
           turnedCard("roof", "blinn", 0, 1.8f, 0, 6, 80) +
           turnedCard("left", "aniso", -1.1f, 0.2f, -0.5f, 0.7f, 20) +
           turnedCard("right", "phongE", 1.1f, 0.2f, -0.5f, 0.7f, -20) +
           turnedCard("pane", "glass", 0.5f, -0.4f, 1, 0.7f, 12) +
           card("foil", "film", -0.5f, 0.5f, 1.5f, 0.6f) + turnedCard("behind", "phong", 0, 0, 12, 6, 180) +
           directionalLight("sun", "\"intensity\" 0.7", "-0.8 -0.06 -1") +
           pointLight("lamp", "\"intensity\" 0.8, \"color\" 1 0.8 0.6 1", 0.8f, 0.9f, 4);
}

/// Paint under lacquer under a transparent film, which partly refracts, before a wall, beside a mirror, with
/// shadows.
std::string paintedWall(const std::string& mode, const std::string& layers) {
    return lambert("wall", "\"color\" 0.7 0.6 0.5 1, \"ambientColor\" 0.1 0.1 0.12 1") +
           mirror("mirror", 0.8f) +
           shader("lacquer", "orcaVelaBlinn",
                  "\"color\" 0 0 0 1, \"transparency\" 0.8 0.9 0.7 1, \"eccentricity\" 0.3, "
                  "\"reflectivity\" 0.7, \"compositeScalarA\" 0.3") +
           shader("flakes", "orcaVelaPhong",
                  "\"color\" 0.6 0.2 0.1 1, \"transparency\" 0.4 0.4 0.2 1, \"cosinePower\" 5, "
                  "\"reflectivity\" 0.3, \"ambientColor\" 0.1 0.2 0 1, \"incandescence\" 0.02 0 0.03 1") +
           shader("jelly", "orcaVelaLambert",
                  "\"color\" 0.2 0.6 0.3 1, \"transparency\" 0.5 0.6 0.3 1, \"refractionsOn\" on, "
                  "\"refractiveIndex\" 1.2, \"translucence\" 0.5") +
           shader(
               "paint", "orcaVelaLambert",
               "\"color\" 0.2 0.3 0.7 1, \"transparency\" 0.2 0.3 0.1 1, \"ambientColor\" 0.05 0.1 0.1 1") +
           surface("painted", "orcaVelaLayeredShader",
                   "\"compositingMode\" " + mode + ", \"layers\" [ " + layers + " ]", "0.2 0.2 0.2 1") +
           card("back", "wall", 0, 0, -2, 6) + card("panel", "painted", 0, -0.2f, 0, 1.2f) +
           card("front", "painted", 0.6f, 0.5f, 1, 0.5f) + card("glass", "mirror", -1.2f, 0.6f, 0.5f, 0.5f) +
           card("behind", "painted", 0, 0, 14, 4) +
           directionalLight("sun", "\"intensity\" 0.9", "-0.5 -0.3 -1") +
           pointLight("lamp", "\"intensity\" 0.8, \"color\" 1 0.8 0.6 1", 0.8f, 0.9f, 4);
}

/// Fibres of every model, fur, a tube's highlight and brightness ramps over one another.
std::string hairsAndRamps() {
    const auto hairs = [](const std::string& name, const std::string& of, const std::string& parameters,
                          float z) {
        return surface(name, of, "\"ambientColor\" 0.1 0.2 0.1 1, " + parameters, "0.3 0.2 0.1 1") +
               fmt::format("object \"{0}_mesh\" visible shadow trace hair round radius 0.3 scalars 18 -1.5 "
                           "-1 {1} 1 1 {1} "
                           "-1.5 0 {1} 1.5 0.4 {1} 0 -1.4 {1} 1.2 1 {1} hairs 3 0 6 12 end hair end object\n"
                           "instance \"{0}_inst\" \"{0}_mesh\" material \"{0}\" end instance\n",
                           name, z);
    };
    return lambert("wall", "\"color\" 0.7 0.6 0.5 1") +
           hairs("physical", "orcaVelaHairShader", "\"transparency\" 0.3 0.1 0.2 1, \"scatterRays\" 2", 1) +
           hairs("classic", "orcaVelaHairShader", "\"model\" 0, \"translucence\" 0.4, \"tipThickness\" 0.3",
                 0.2f) +
           hairs("fur", "orcaVelaFur", "\"translucence\" 0.2", 1.8f) +
           surface("tube", "orcaVelaHairTubeShader", "\"reflectivity\" 0.3, \"secondaryColor\" 1 1 1 1") +
           surface("tones", "orcaVelaRampShader",
                   "\"colorInput\" 3, \"colorRamp\" [ { \"value\" 0.3 0.1 0 1 }, { \"position\" 0.4, "
                   "\"value\" 0.9 0.8 1 1 } ], "
                   "\"transparencyRamp\" [ { \"value\" 0.4 0.4 0.3 1 } ], \"reflectivityRamp\" [ { \"value\" "
                   "0.5 } ]") +
           card("back", "wall", 0, 0, -2, 6) + turnedCard("left", "tube", -1, 0.2f, -0.5f, 0.9f, 20) +
           turnedCard("right", "tones", 1, 0.2f, -0.5f, 0.9f, -20) + softSun + softLamp;
}

/// Every light, on shiny half-transparent boards before a wall. Soft shadows, but none of ambient light, of
/// which there is no unshadowed layer.
std::string manyLights() {
    const auto light = [](const std::string& kind, const std::string& parameters, const std::string& place) {
        return fmt::format("light \"{0}\" \"orcaVela{0}Light\" ( {1}, \"shadowRays\" 4 ) origin 0 0 0 end "
                           "light\ninstance \"{0}_inst\" \"{0}\" {2} end instance\n",
                           kind, parameters, place);
    };
    const auto at = [](float x, float y, float z) {
        return fmt::format("transform 1 0 0 0 0 1 0 0 0 0 1 0 {} {} {} 1", -x, -y, -z);
    };
    return lambert("wall", "\"color\" 0.7 0.6 0.5 1, \"translucence\" 0.3") +
           surface("board", "orcaVelaBlinn",
                   "\"color\" 0.5 0.2 0.3 1, \"transparency\" 0.5 0.3 0.6 1, \"reflectivity\" 0.4",
                   "0.5 0.3 0.6 1") +
           card("back", "wall", 0, 0, -1, 6) + turnedCard("left", "board", -0.8f, 0, 0.2f, 0.8f, 20) +
           turnedCard("right", "board", 1, 0.2f, 0.5f, 0.6f, -70) +
           light("Spot", "\"coneAngle\" 50, \"penumbraAngle\" -10, \"lightRadius\" 0.3", at(-1, 1, 4)) +
           light("Area", "\"color\" 0.3 0.9 0.4 1, \"twoSided\" on", at(0.8f, -0.4f, 1.5f)) +
           light("Ambient", "\"intensity\" 0.3", at(1, 2, 3)) +
           light("Volume", "\"emitAmbient\" on, \"useRayTraceShadows\" off", at(0.6f, 0.6f, 0)) +
           "light \"Default\" \"orcaVelaDefaultLight\" ( \"intensity\" 0.2, \"useRayTraceShadows\" on ) "
           "direction 0 "
           "0 -1 end light\ninstance \"Default_inst\" \"Default\" end instance\n";
}

/// Waves two units above a glowing floor.
std::string waves(const std::string& inside) {
    return surface("water", "orcaVelaOceanShader",
                   "\"octaveCount\" 4, \"maxWavelength\" 3, \"minWavelength\" 0.4, \"foamRate\" 1, "
                   "\"foamCutoff\" 0.5, \"crestScatter\" 0.7, \"crestHeight\" -0.2, " +
                       inside,
                   "1 1 1 1") +
           glowing("ground", "0.8 0.6 0.4") + sheet("sea", "water", 0.0f) + sheet("floor", "ground", -2.0f) +
           directionalLight("sun", "\"useRayTraceShadows\" off", "-0.5 -1 -0.3");
}

std::vector<SceneCase> sceneCases() {
    const std::string opaque = layerOf("lacquer") + ", " + layerOf("flakes") + ", " + layerOf("paint");
    const std::string refracting =
        "{ \"color\" = \"flakes.outColor\", \"transparency\" 0.7 0.5 0.9 1 }, " + layerOf("jelly");
    const std::string gathers = "finalgather on finalgather accuracy 4";
    const std::string clear =
        "\"transparency\" 0.6 0.8 0.7 1, \"refractionsOn\" on, \"lightAbsorbance\" 0.3, "
        "\"refractionBlur\" 0.2, \"refractionBlurSamples\" 4";
    const std::string fromAbove = "transform 1 0 0 0 0 0 1 0 0 -1 0 0 0 0 -10 1",
                      fromBelow = "transform 1 0 0 0 0 0 -1 0 0 1 0 0 0 0 -1 1";
    return {
        {"ShadowsOfAHalfTransparentSheet",
         lambert("film", "\"color\" 0.4 0.2 0.8 1, \"transparency\" 0.6 0.3 0.8 1", "0.6 0.3 0.8 1") +
             floorAndLights + card("sheet", "film", -0.5f, 0, 1, 0.9f),
         {"ambient", "shadow"}},
        {"RefractingGlass",
         lambert("glass",
                 "\"color\" 0.2 0.6 0.3 1, \"transparency\" 0.5 0.7 1 1, \"refractionsOn\" on, "
                 "\"ambientColor\" 0.2 0.2 0.1 1, \"incandescence\" 0.1 0 0.2 1",
                 "0.5 0.7 1 1") +
             floorAndLights + card("pane", "glass", -0.5f, 0.3f, 1.5f, 0.9f),
         {"refraction", "shadow"}},
        {"WhollyTransparentGlow",
         lambert("glow", "\"color\" 1 1 1 1, \"transparency\" 1 1 1 1, \"incandescence\" 0.3 0.1 0.2 1",
                 "1 1 1 1") +
             floorAndLights + card("veil", "glow", 0.4f, 0, 1, 0.9f),
         {"incandescence"}},
        {"BothSidesOfATranslucentSheetThatShines",
         surface("leaf", "orcaVelaPhong",
                 "\"color\" 0.3 0.6 0.2 1, \"translucence\" 0.7, \"cosinePower\" 4, \"reflectivity\" 0.4") +
             floorAndLights + card("back", "leaf", -0.8f, 0, 1.2f, 0.6f) +
             "instance \"turned\" \"back_mesh\" transform -1 0 0 0 0 1 0 0 0 0 -1 0 0.9 0 1.2 1 end "
             "instance\n" +
             directionalLight("low", "", "0.2 0.1 1"),
         {"specular", "shadow"}},
        {"LayersThatRefractAndShadow",
         shader("coat", "orcaVelaBlinn",
                "\"color\" 0.1 0.1 0.4 1, \"transparency\" 0.7 0.8 0.6 1, \"reflectivity\" 0.5") +
             shader("jelly", "orcaVelaLambert",
                    "\"color\" 0.2 0.6 0.3 1, \"transparency\" 0.5 0.6 0.3 1, \"refractionsOn\" on, "
                    "\"refractiveIndex\" 1.2") +
             surface("both", "orcaVelaLayeredShader",
                     "\"layers\" [ " + layerOf("coat") + ", " + layerOf("jelly") + " ]", "0.4 0.5 0.2 1") +
             floorAndLights + card("slab", "both", 0.3f, -0.2f, 1, 1),
         {"refraction", "shadow"}},
        {"MirrorsInMirrorsGlassAndFilm",
         gallery(),
         {"ambient", "diffuse", "specular", "incandescence", "reflection", "refraction"},
         true},
        {"HairsTubesAndRamps",
         hairsAndRamps(),
         {"ambient", "diffuse", "specular", "reflection", "refraction", "shadow"},
         true},
        {"EveryLight", manyLights(), {"ambient", "diffuse", "specular", "shadow"}, true},
        {"SomeOfTheLights",
         manyLights(),
         {"ambient", "diffuse", "specular", "shadow"},
         true,
         "light samples 2"},
        {"OpaqueLayers", paintedWall("0", opaque), {"ambient", "diffuse", "specular"}, true, gathers},
        {"OpaquePremultipliedLayers", paintedWall("1", opaque), {"reflection"}, true, gathers},
        {"RefractingLayers", paintedWall("0", refracting), {"reflection"}, true},
        {"RefractingPremultipliedLayers", paintedWall("1", refracting), {"specular"}, true},
        {"ClearWater", waves(clear), {"indirect", "refraction"}, false, "", fromAbove},
        {"ClearWaterFromBelow", waves(clear), {}, false, "", fromBelow},
        {"DimWater", waves("\"transparency\" 0.3 0.3 0.3 1"), {"indirect"}, false, "", fromAbove},
        {"DisplacedWater", waves("\"displaced\" on"), {"indirect"}, false, "", fromAbove},
    };
}

class AdditivePasses : public ::testing::TestWithParam<SceneCase> {};

TEST_P(AdditivePasses, AddUpAtEveryPixel) {
    TestScene scene;
    scene.addLayers();
    scene.traceDepth = "3 4 6";
    scene.contents = GetParam().contents;
    scene.perspective = GetParam().perspective;
    scene.extraOptions = GetParam().extraOptions;
    scene.camera = GetParam().camera;
    for (const auto& passes : shadowPasses)
        for (const std::string pass : passes) {
            if (std::ranges::count(scene.passes, pass)) continue;
            scene.passes.push_back(pass);
            scene.passFlags.push_back(std::string("\"shadowed\" on") +
                                      (pass == "shadow" ? "" : ", \"weightByOpacity\" on"));
        }
    const RenderedScene picture(scene);
    expectLayersAddUp(picture);
    std::vector<int> lit(GetParam().lit.size());
    picture.eachPixel([&](int x, int y) {
        const float coverage = picture.pixel("main", x, y).a;
        for (const std::string& pass : scene.passes)
            EXPECT_NEAR(picture.pixel(pass, x, y).a, coverage, tolerance) << pass;
        for (const auto& [shadowed, shadow, unshadowed] : shadowPasses)
            expectColor(picture.pixel(shadowed, x, y) + picture.pixel(shadow, x, y),
                        picture.pixel(unshadowed, x, y), tolerance, shadowed);
        for (std::size_t i = 0; i < lit.size(); ++i)
            lit[i] += difference(picture.pixel(GetParam().lit[i], x, y), {}) > 0.0f;
    });
    for (std::size_t i = 0; i < lit.size(); ++i) EXPECT_GT(lit[i], 4) << GetParam().lit[i];
}
INSTANTIATE_TEST_SUITE_P(Scenes, AdditivePasses, ::testing::ValuesIn(sceneCases()),
                         [](const auto& test) { return std::string(test.param.name); });

/// Two cards of which the pass leaves one out.
TEST(PassAlpha, IsCoverageByWhatFeedsThePassOnlyWherePassesAddUp) {
    for (const bool additive : {false, true}) {
        TestScene scene;
        scene.baseState = additive ? "\"additivePasses\" on" : "";
        scene.passes = {"beauty", "diffuse"}; // records 0, 1
        scene.contents = passMask("notDiffuse", "1") + lambert("film", "\"transparency\" 0.75 0.75 0.75 1") +
                         card("half", "film", -1, 1, 0, 1) +
                         card("leftOut", "film", 1, 1, 0, 1, "data \"notDiffuse\"");
        const RenderedScene picture(scene); // in the dark
        const auto alpha = [&](const char* pass, int x, int y) { return picture.pixel(pass, x, y).a; };
        EXPECT_NEAR(alpha("diffuse", 3, 12), additive ? 0.25f : 0.0f, 1e-6f); // unlit
        EXPECT_NEAR(alpha("beauty", 3, 12), additive ? 0.25f : 1.0f, 1e-6f);
        EXPECT_NEAR(alpha("diffuse", 12, 12), 0.0f, 1e-6f);
        EXPECT_NEAR(alpha("beauty", 12, 12), additive ? 0.25f : 1.0f, 1e-6f);
        EXPECT_NEAR(alpha("beauty", 3, 3), 0.0f, 1e-6f); // empty
    }
}

/// Films, panes and a mirror before a sky and a visible lamp, with the layers that make up the picture.
TestScene beforeTheSky() {
    TestScene scene;
    scene.addLayers();
    scene.samples = "2 2"; // edges too
    for (const char* layer : {"environment", "lamps"})
        scene.cameraStatements += fmt::format(
            "framebuffer \"{}\" datatype \"rgba_fp\" user on filtering on useopacity on\n", layer);
    scene.cameraStatements += "environment \"velaEnvironmentLatLong\" ( \"horizon\" 0.5 0.25 1 1 )\n";
    const std::string film = "\"color\" 0.3 0.6 0.2 1, \"incandescence\" 0.1 0 0 1, "
                             "\"transparency\" 0.6 0.5 0.4 1";
    scene.contents =
        pointLight("key", "\"intensity\" 1, \"decayRate\" 0", 1, 2, 9) +
        pointLight("lamp", "\"intensity\" 2, \"decayRate\" 2", 0, 0, -2, "", "sphere 0.8 visible") +
        surface("mirror", "orcaVelaPhong", "\"reflectivity\" 0.5, \"specularColor\" 0.6 0.6 0.6 1") +
        lambert("m", film) + lambert("glass", film + ", \"refractionsOn\" on, \"refractiveIndex\" 1.1") +
        card("near", "m", -0.7f, 0.1f, 2, 0.63f) + card("far", "m", -0.3f, -0.2f, 1, 0.68f) +
        card("pane", "glass", 1.2f, -1.2f, 1.5f, 0.41f) + card("shiny", "mirror", 1.3f, 1.1f, 0, 0.57f) +
        "incremental data \"cam:fbdata\" \"orcaFrameBufferData\" ( "
        "\"nonMaterialFrameBuffers\" [ \"environment\", \"lamps\" ] ) end data\n"
        "incremental options \"opt\" state \"velaBaseState\" ( \"additivePasses\" on ) "
        "\"orcaFrameBufferState\" ( )\n"
        "\"orcaPassBackground\" ( \"passIndex\" 0 ) \"orcaPassBackground\" ( \"passIndex\" 1, "
        "\"source\" 1 ) end options\n";
    return scene;
}

/// What no surface shows: the sky and visible lamps, in both modes, under every exposure.
TEST(BackgroundPasses, CloseTheSumOnEveryPixel) {
    const struct {
        const char *scanline, *exposure;
        float scale; // 0: not the same everywhere
    } cases[] = {{"", "", 1},
                 {"scanline rapid\n", "", 1},
                 {"", "\"velaExposure\" ( \"exposure\" -1.5 )", 0.353553f},
                 // 1.2 times 16^2 / 0.02 cd/m2 are white at ISO 100.
                 {"", "\"velaExposure\" ( \"fStop\" 16, \"shutterTime\" 0.02, \"iso\" 100 )", 1 / 15360.0f},
                 {"", "\"velaExposure\" ( \"exposure\" 1, \"clamp\" 1.5 )", 0},
                 {"scanline rapid\n", "\"velaExposure\" ( \"exposure\" 1 )", 2}};
    std::vector<std::string> all = componentLayers;
    all.insert(all.end(), {"environment", "lamps"});
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.scanline) + c.exposure);
        TestScene scene = beforeTheSky();
        scene.extraOptions = c.scanline;
        scene.lens = fmt::format("lens {} \"orcaFrameBufferLens\" ( )", c.exposure);
        const RenderedScene picture(scene);
        expectLayersAddUp(picture, all);
        if (c.scale == 0.0f) {
            picture.eachPixel([&](int x, int y) { EXPECT_LE(picture.pixel("main", x, y).r, 1.5001f); });
            EXPECT_NEAR(picture.pixel("lamps", 10, 8).r, 1.5f, 1e-5f);
            continue;
        }
        EXPECT_NEAR(picture.pixel("environment", 0, 15).b, c.scale, 1e-5f * c.scale); // the open sky ...
        EXPECT_NEAR(picture.pixel("environment", 3, 7).b, 0.4f * c.scale,
                    2e-5f * c.scale); // ... behind one film
        EXPECT_NEAR(picture.pixel("lamps", 10, 8).r, 2.0f * c.scale, 2e-5f * c.scale);
        EXPECT_NEAR(picture.pixel("lamps", 6, 8).r, 2.0f * 0.36f * c.scale, 2e-5f * c.scale); // behind two
    }
}

} // namespace
} // namespace orca::test
