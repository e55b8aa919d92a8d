// SPDX-License-Identifier: Apache-2.0
/// Media against closed forms and brute-force integrals; their layers; volumes of cameras and of bodies.
#include "build_paths.h"
#include "rendered_scene.h"
#include "scene_parts.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::test {
namespace {

constexpr double pi = std::numbers::pi;

/// A medium whose shape is of the half sizes about (x, y, z).
std::string medium(const std::string& name, const std::string& parameters, const miVector& half = {1, 1, 1},
                   const miVector& at = {0, 0, 0}) {
    return fmt::format("instgroup \"{0} group\" end instgroup\ninstance \"{0} here\" \"{0} group\" transform "
                       "{2} 0 0 0 0 {3} 0 0 0 0 {4} 0 {5} {6} {7} 1 end instance\n"
                       "shader \"{0}\" \"orcaVelaVolumePrimitive\" ( \"placement\" \"{0} here\", {1} )\n",
                       name, parameters, 1 / half.x, 1 / half.y, 1 / half.z, -at.x / half.x, -at.y / half.y,
                       -at.z / half.z);
}

/// The camera's volume, of the primitives named ("\"a\", \"b\"").
std::string air(const std::string& primitives, const std::string& parameters = "\"lightSamples\" 0") {
    return fmt::format(
        "incremental camera \"cam\" volume \"orcaVelaVolumeEngine\" ( \"primitives\" [ {} ], {} ) "
        "end camera\n",
        primitives, parameters);
}

/// Middle of a pixel of the default view.
double place(int pixel) {
    return (pixel + 0.5) / 4 - 2;
}

TEST(Media, DimByTheLengthOfThePathThroughTheirShape) {
    using Length = double (*)(double, double);
    constexpr auto dense = "\"density\" 0.5, \"scattering\" 0.2 0.4 0 1, \"absorption\" 0.4 0 1 1, ";
    // The same, but not known to be homogeneous.
    constexpr auto ramped = "\"densityRamp\" [ { \"position\" 0, \"value\" 1, \"interpolation\" 1 } ], ";
    const struct {
        const char* shape;
        miVector half, at;
        Length length; // of the path at (x, y)
    } cases[] = {
        {"\"shape\" 0", {1, 1, 1}, {0, 0, 0}, [](double, double) { return 10.0; }},
        {"\"shape\" 1",
         {1, 0.6f, 2},
         {0.2f, 0, 1},
         [](double x, double y) {
             return std::abs(x - 0.2) < 1 && std::abs(y) < 0.6 ? 3.0 : 0.0; // the wall is in it
         }},
        {"\"shape\" 2",
         {1, 0.8f, 1},
         {0, 0.3f, 0},
         [](double, double y) { return std::abs(y - 0.3) < 0.8 ? 10.0 : 0.0; }},
        {"\"shape\" 3",
         {1.5f, 1.5f, 0.5f},
         {0, 0, 3},
         [](double x, double y) { return std::sqrt(std::max(0.0, 1 - (x * x + y * y) / 2.25)); }},
        {"\"shape\" 4, \"coneEndRadius\" 0.4",
         {1.5f, 1.5f, 1},
         {0, 0, 3},
         [](double x, double y) {
             const double r = std::hypot(x, y) / 1.5;
             return r < 0.4 ? 2.0 : std::max(0.0, 2 * (1 - r) / 0.6);
         }},
        {"\"shape\" 3",
         {1.5f, 1.5f, 4},
         {0, 0, 10},
         [](double x, double y) { // the camera is in it
             return 4 * std::sqrt(std::max(0.0, 1 - (x * x + y * y) / 2.25));
         }},
    };
    for (const auto& c : cases)
        for (const char* how : {"", ramped}) {
            SCOPED_TRACE(std::string(c.shape) + how);
            TestScene scene;
            scene.contents = glowing("lit", "1 1 1") + card("wall", "lit", 0, 0, 0, 4) +
                             medium("fog", std::string(dense) + how + c.shape, c.half, c.at) + air("\"fog\"");
            const RenderedScene picture(scene);
            picture.eachPixel([&](int i, int j) {
                const double d = 0.5 * c.length(place(i), place(j));
                expectColor(picture.pixel("main", i, j),
                            {float(std::exp(-0.6 * d)), float(std::exp(-0.4 * d)), float(std::exp(-d)), 1},
                            2e-5f);
            });
        }
}

TEST(Media, EmitUntilTheyHideThemselves) {
    TestScene scene;
    scene.contents = lambert("nothing", "\"color\" 0 0 0 1") +
                     medium("fire", "\"shape\" 0, \"layer\" 1, \"density\" 0.1, \"scattering\" 0 0 0 1, "
                                    "\"absorption\" 1 2 0 1, \"emission\" 3 2 1 1") +
                     card("wall", "nothing", 0, 0, 0, 4) + air("\"fire\"");
    const RenderedScene picture(scene);
    expectColor(picture.middle(), {float(3 * (1 - std::exp(-1.0))), float(1 - std::exp(-2.0)), 1.0f, 1},
                1e-5f);
}

/// One scattering by a sphere of fog of radius 1.2 about (0, 0, 2), counted along the ray at (x, y).
double scatteredOnce(double x, double y, const miVector& lamp, double g, bool decays) {
    constexpr double radius = 1.2, middle = 2, scattering = 0.7, extinction = 1.0, intensity = 3;
    const double half2 = radius * radius - x * x - y * y;
    if (half2 <= 0) return 0;
    constexpr int steps = 4000;
    const double half = std::sqrt(half2), dt = 2 * half / steps;
    double sum = 0;
    for (int i = 0; i < steps; ++i) {
        const double s = (i + 0.5) * dt, z = middle + half - s; // from above
        const double lx = lamp.x - x, ly = lamp.y - y, lz = lamp.z - z;
        const double distance = std::sqrt(lx * lx + ly * ly + lz * lz), away = z - middle;
        const double b = (lx * x + ly * y + lz * away) / distance,
                     c = x * x + y * y + away * away - radius * radius;
        const double inside = std::min(distance, -b + std::sqrt(b * b - c));
        const double cosine = -lz / distance; // of the angle between the view and the way to the lamp
        const double phase = (1 - g * g) / (4 * pi * std::pow(1 + g * g - 2 * g * cosine, 1.5));
        const double light = intensity * pi / (decays && distance > 1 ? distance * distance : 1);
        sum += scattering * phase * light * std::exp(-extinction * (s + inside)) * dt;
    }
    return sum;
}

TEST(Media, ScatterOnceWhatAnIntegralOverTheRaySays) {
    const struct {
        miVector lamp;
        double g;
        bool decays;
    } cases[] = {{{3, 1, 4}, 0, false},
                 {{0.3f, 0.2f, 2.1f}, 0, true},
                 {{-1, 0, -3}, 0.6, true},
                 {{0, 2, 6}, -0.4, false}};
    for (const auto& c : cases) {
        TestScene scene;
        scene.passes = {"beauty", "objectVolume"};
        scene.passFlags = {"\"shadowed\" on", "\"shadowed\" on"};
        scene.contents =
            medium("fog",
                   fmt::format("\"shape\" 3, \"scattering\" 0.7 0.7 0.7 1, \"absorption\" 0.3 0.3 0.3 1, "
                               "\"anisotropy\" {}",
                               c.g),
                   {1.2f, 1.2f, 1.2f}, {0, 0, 2}) +
            pointLight("lamp", fmt::format("\"intensity\" 3, \"decayRate\" {}", c.decays ? 2 : 0), c.lamp.x,
                       c.lamp.y, c.lamp.z) +
            air("\"fog\"", "\"lightSamples\" 400");
        const RenderedScene picture(scene);
        picture.eachPixel([&](int i, int j) {
            const auto expected = float(scatteredOnce(place(i), place(j), c.lamp, c.g, c.decays));
            EXPECT_NEAR(picture.pixel("main", i, j).g, expected, 0.01f * expected + 1e-6f);
            EXPECT_NEAR(picture.pixel("objectVolume", i, j).g, picture.pixel("main", i, j).g, 1e-6f);
        });
    }
}

TEST(Media, LookTheSameDirectlyThroughGlassAndInAMirror) {
    const std::string clear = "\"color\" 0 0 0 1, \"transparency\" 1 1 1 1, \"refractiveIndex\" 1";
    const auto panes = card("pane", "glass", 0, 0, 4.2f, 9) + card("pane2", "glass", 0, 0, 2, 9);
    const std::string wall = card("wall", "lit", 0, 0, 0, 9);
    const struct {
        const char* name;
        std::string contents;
        float cameraAt, lampAt;
    } cases[] = {
        {"directly", wall, 10, 5.5f},
        {"film", lambert("glass", clear, "1 1 1 1") + panes + wall, 10, 5.5f},
        {"glass", lambert("glass", clear + ", \"refractionsOn\" on", "1 1 1 1") + panes + wall, 10, 5.5f},
        // The camera is between the mirror and the fog, which it has in its back.
        {"mirror",
         mirror("shiny", 1) + card("glass", "shiny", 0, 0, 0, 9) + turnedCard("wall", "lit", 0, 0, 8, 9, 180),
         2, 2.5f},
    };
    miColor first{};
    for (const auto& c : cases) {
        TestScene scene;
        scene.viewWidth = 0.2f;
        scene.camera = fmt::format("transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 {} 1", -c.cameraAt);
        scene.contents =
            glowing("lit", "1 1 1") + c.contents +
            medium("fog", "\"shape\" 1, \"absorption\" 0.5 0.2 0.1 1, \"emission\" 0.1 0.3 0.2 1",
                   {20, 20, 1}, {0, 0, 4}) +
            pointLight("lamp", "\"intensity\" 2, \"emitSpecular\" off", 0, 0, c.lampAt) +
            air("\"fog\"", "\"lightSamples\" 256");
        const miColor seen = RenderedScene(scene).middle();
        if (first.a == 0) first = seen;
        expectColor(seen, first, 1e-3f, c.name);
        EXPECT_GT(seen.r, 0.2f);
    }
}

TEST(Media, CastShadowsInEveryModeAndIntoThePassesOfShadows) {
    const float left = std::exp(-0.8f * 2 / 0.8f); // of light at a slant
    for (const char* mode : {"on", "sort", "segments"}) {
        TestScene scene;
        scene.shadow = mode;
        scene.baseState = "\"additivePasses\" on";
        scene.passes = {"diffuse", "diffuseNoShadow", "shadow"};
        scene.passFlags = {"\"shadowed\" on", "\"shadowed\" on", "\"shadowed\" on"};
        scene.camera = "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -1 1"; // below the fog
        scene.contents =
            white() + card("floor", "white", 0, 0, 0, 8) +
            lambert("half", "\"transparency\" 0.5 0.5 0.5 1", "0.5 0.5 0.5 1") +
            card("sheet", "half", 13.75f, 0, 7, 8.5f) + // over the right half, as the sun sees it
            directionalLight("sun", "\"intensity\" 2", "-0.6 0 -0.8") +
            // A slab between z = 3 and 5.
            "instgroup \"none\" end instgroup\ninstance \"upright\" \"none\" transform 1 0 0 0 0 0 1 0 "
            "0 1 0 0 0 -4 0 1 end instance\nshader \"fog\" \"orcaVelaVolumePrimitive\" ( "
            "\"placement\" \"upright\", \"shape\" 2, \"density\" 0.8 )\n" +
            air("\"fog\"");
        const RenderedScene picture(scene);
        for (const auto& [x, sheet] : {std::pair(1, 1.0f), {14, 0.5f}}) {
            const float lit = 2 * 0.8f, seen = lit * left * sheet;
            EXPECT_NEAR(picture.pixel("main", x, 8).g, seen, 2e-5f) << mode;
            EXPECT_NEAR(picture.pixel("diffuse", x, 8).g, seen, 2e-5f) << mode;
            EXPECT_NEAR(picture.pixel("diffuseNoShadow", x, 8).g, lit, 2e-5f) << mode;
            EXPECT_NEAR(picture.pixel("shadow", x, 8).g, lit - seen, 2e-5f) << mode;
        }
    }
}

/// Mist, a cloud and the fog of a lamp before and behind films, glass and a mirror, with a sky and a lamp
/// that is seen.
TestScene hazyGallery() {
    TestScene scene;
    scene.perspective = true; // directions that are no exact numbers
    scene.addLayers();
    for (const char* pass : {"lightVolume", "sceneVolume", "objectVolume"}) {
        scene.passes.push_back(pass);
        scene.passFlags.push_back("\"shadowed\" on");
    }
    scene.traceDepth = "3 4 6";
    for (const char* layer : {"environment", "lamps"})
        scene.cameraStatements += fmt::format(
            "framebuffer \"{}\" datatype \"rgba_fp\" user on filtering on useopacity on\n", layer);
    scene.cameraStatements += "environment \"velaEnvironmentLatLong\" ( \"horizon\" 0.5 0.25 1 1 )\n";
    const std::string film =
        "\"color\" 0.3 0.6 0.2 1, \"incandescence\" 0.1 0 0 1, \"transparency\" 0.6 0.5 0.4 1";
    scene.contents =
        pointLight("key", "\"intensity\" 1", 1, 2, 9) +
        pointLight("lamp", "\"intensity\" 2, \"fogRadius\" 1.5", 0, 0, -2, "", "sphere 0.8 visible") +
        surface("mirror", "orcaVelaPhong", "\"reflectivity\" 0.5, \"specularColor\" 0.6 0.6 0.6 1") +
        lambert("m", film, "0.6 0.5 0.4 1") +
        lambert("glass", film + ", \"refractionsOn\" on, \"refractiveIndex\" 1.1", "0.6 0.5 0.4 1") +
        card("near", "m", -0.7f, 0.1f, 2, 0.63f) + card("far", "m", -0.3f, -0.2f, 1, 0.68f) +
        card("pane", "glass", 1.2f, -1.2f, 1.5f, 0.41f) + card("shiny", "mirror", 1.3f, 1.1f, 0, 0.57f) +
        medium("mist", "\"shape\" 0, \"layer\" 1, \"density\" 0.05, \"absorption\" 0.1 0.5 0 1") +
        medium("cloud", "\"shape\" 3, \"noiseAmplitude\" 3, \"edgeDropoff\" 0.4, \"emission\" 0 0.1 0.3 1",
               {1.5f, 1, 1}, {0.2f, 0.4f, 1.6f}) +
        "shader \"glow\" \"orcaVelaLightFog\" ( \"light\" \"lamp_inst\", \"radius\" 1.5 )\n" +
        air("\"mist\", \"cloud\", \"glow\"", "\"lightSamples\" 3, \"scatterOrders\" 2, \"maxDistance\" 12") +
        "incremental data \"cam:fbdata\" \"orcaFrameBufferData\" ( "
        "\"nonMaterialFrameBuffers\" [ \"environment\", \"lamps\" ] ) end data\n"
        "incremental options \"opt\" state \"velaBaseState\" ( \"additivePasses\" on ) "
        "\"orcaFrameBufferState\" ( )\n"
        "\"orcaPassBackground\" ( \"passIndex\" 0 ) \"orcaPassBackground\" ( \"passIndex\" 1, "
        "\"source\" 1 ) end options\n";
    return scene;
}

TEST(MediaLayers, AreThePictureWithTheOthersForAnyThreads) {
    std::vector<std::string> all = componentLayers;
    all.insert(all.end(), {"environment", "lamps", "lightVolume", "sceneVolume", "objectVolume"});
    RenderedScene::Settings threads;
    threads.threads = 3;
    threads.tileSize = 5;
    std::vector<std::vector<float>> parallel;
    {
        const RenderedScene again(hazyGallery(), threads);
        for (const std::string& layer : all) parallel.push_back(again.words(layer));
    }
    const RenderedScene picture(hazyGallery());
    expectLayersAddUp(picture, all);
    for (std::size_t i = 0; i < all.size(); ++i) EXPECT_EQ(picture.words(all[i]), parallel[i]) << all[i];
    for (const char* layer : {"lightVolume", "sceneVolume", "objectVolume"}) {
        float most = 0;
        picture.eachPixel([&](int x, int y) { most = std::max(most, picture.pixel(layer, x, y).g); });
        EXPECT_GT(most, 0.02f) << layer;
    }
}

TEST(Media, AreFoundInLayersThinnerThanAStep) {
    TestScene scene; // a layer whose density rises to its full and falls again, 0.48 thick in a box of 4
    scene.contents = glowing("lit", "1 1 1") + card("wall", "lit", 0, 0, -4, 4) +
                     medium("fog",
                            "\"shape\" 1, \"density\" 5, \"rampInput\" 3, \"densityRamp\" [ "
                            "{ \"position\" 0.44, \"value\" 0, \"interpolation\" 1 }, "
                            "{ \"position\" 0.5, \"value\" 1, \"interpolation\" 1 }, "
                            "{ \"position\" 0.56, \"value\" 0, \"interpolation\" 1 } ]",
                            {9, 9, 2}) +
                     air("\"fog\"", "\"lightSamples\" 0, \"tolerance\" 0.001");
    EXPECT_NEAR(RenderedScene(scene).middle().g, std::exp(-5 * 0.24f), 2e-3f);
}

TEST(Media, HardlyDependOnTheLengthOfSteps) {
    std::vector<std::vector<float>> pictures;
    for (const char* step : {"0", "0.2", "0.05", "0.01"}) {
        TestScene scene;
        scene.contents =
            glowing("lit", "1 1 1") + card("wall", "lit", 0, 0, -2, 4) +
            medium("cloud", "\"shape\" 3, \"density\" 2, \"noiseAmplitude\" 2.5, \"edgeDropoff\" 0.5",
                   {1.8f, 1.8f, 1.8f}) +
            air("\"cloud\"", fmt::format("\"lightSamples\" 0, \"stepSize\" {}, \"tolerance\" 0.002", step));
        pictures.push_back(RenderedScene(scene).words("main"));
    }
    for (const auto& picture : pictures)
        for (std::size_t i = 0; i < picture.size(); ++i) EXPECT_NEAR(picture[i], pictures.back()[i], 0.01f);
}

TEST(Media, AreInTheShadowOfTheSurfaceThatEndsTheRay) {
    TestScene scene;
    scene.contents = lambert("black", "\"color\" 0 0 0 1", "0 0 0 1") + card("wall", "black", 0, 0, 0, 4) +
                     pointLight("lamp", "", 0, 0, -3) + medium("fog", "\"shape\" 0") +
                     air("\"fog\"", "\"lightSamples\" 16");
    const RenderedScene picture(scene);
    picture.eachPixel([&](int x, int y) { EXPECT_EQ(picture.pixel("main", x, y).g, 0.0f); });
}

TEST(LightFog, IsAsDeepAsItsSphereUpToWhatIsInIt) {
    TestScene scene;
    scene.contents =
        pointLight("lamp", "\"intensity\" 2, \"decayRate\" 2, \"fogRadius\" 1.6, \"fogIntensity\" 0.5", 0, 0,
                   3) +
        lambert("black", "\"color\" 0 0 0 1") + card("wall", "black", -3, 0, 2.6f, 3) +
        "shader \"glow\" \"orcaVelaLightFog\" ( \"light\" \"lamp_inst\", \"radius\" 1.6 )\n" +
        air("\"glow\"");
    const RenderedScene picture(scene);
    picture.eachPixel([&](int i, int j) {
        const double x = place(i), y = place(j), half2 = 2.56 - x * x - y * y;
        double expected = 0;
        if (half2 > 0) {
            const double half = std::sqrt(half2),
                         chord = x < 0 ? std::clamp(half + 0.4, 0.0, 2 * half) : 2 * half;
            const double share = 0.5 * chord / (1.6 + 2.56 - 0.25 * chord * chord);
            expected = 2 * 0.5 * share * share;
        }
        EXPECT_NEAR(picture.pixel("main", i, j).g, expected, 2e-5);
    });
}

const std::string grids = build_paths::scenes + std::string("/generated/");

std::string grid(const std::string& file, const std::string& parameters) {
    return "link \"velavolume.so\"\n$include <velavolume.mi>\ncolor texture \"file\" \"" + file +
           "\"\ninstgroup \"grid group\" end instgroup\ninstance \"grid here\" \"grid group\" transform 1 0 "
           "0 0 0 1 "
           "0 0 0 0 0.5 0 0 0 -1 1 end instance\nshader \"fog\" \"velaVolumeGrid\" ( \"file\" \"file\", "
           "\"placement\" \"grid here\", " +
           parameters + " )\n" + air("\"fog\"", "\"lightSamples\" 0, \"tolerance\" 0.0005");
}

/// The file's box ends between voxels, where the density falls from 1 to 0 over a tenth: here 2.1 x 2 deep.
TEST(Grids, AreWhereTheyArePlacedAndMoveAlongTheirVelocity) {
    const struct {
        const char *parameters, *options;
        double movedBy;
    } cases[] = {{"", "", 0},
                 {", \"temperatureGrid\" \"heat\", \"emission\" 0.5 1 0 1", "", 0},
                 {", \"velocityGrid\" \"motion\", \"velocityScale\" 0.25", "motion on shutter 1 1", 0.5}};
    constexpr double redOfCoals = 2.964; // of a black body of luminance 1, at x = 0.5646 and y = 0.4029
    for (const auto& c : cases) {
        TestScene scene;
        scene.extraOptions = c.options;
        scene.contents = glowing("lit", "1 1 1") + card("wall", "lit", 0, 0, -2, 4) +
                         grid(grids + "box.vdb", std::string("\"density\" 0.4, \"scattering\" 0 0 0 1, "
                                                             "\"absorption\" 1 2 0 1") +
                                                     c.parameters);
        const RenderedScene picture(scene);
        const auto edge = [](double x) { return std::clamp((1.1 - std::abs(x)) / 0.1, 0.0, 1.0); };
        picture.eachPixel([&](int i, int j) {
            const double depth = 0.4 * 4.2 * edge(place(i) - c.movedBy) * edge(place(j));
            const bool glows = std::string(c.parameters).find("heat") != std::string::npos;
            const double red = std::exp(-depth) + (glows ? 0.5 * redOfCoals * (1 - std::exp(-depth)) : 0);
            EXPECT_NEAR(picture.pixel("main", i, j).r, red, glows ? 2e-2 : 3e-3);
            if (glows) return;
            EXPECT_NEAR(picture.pixel("main", i, j).g, std::exp(-2 * depth), 3e-3);
        });
    }
}

TEST(Grids, SayWhatIsWrongWithTheirFile) {
    const struct {
        std::string file, parameters, message;
    } cases[] = {{grids + "box.vdb", "\"densityGrid\" \"smoke%d\"",
                  "has no grid \"smoke%d\"; it has \"density\", \"heat\", \"motion\""},
                 {grids + "box.vdb", "\"temperatureGrid\" \"motion\"", "the grid \"motion\" of"},
                 {grids + "box.vdb", "\"velocityGrid\" \"heat\"", "is not of vectors"},
                 {grids + "knot.mi", "\"layer\" 2", "cannot be read"},
                 {grids + "none.vdb", "\"layer\" 2", "is not there"}};
    for (const auto& c : cases) {
        TestScene scene;
        scene.contents = grid(c.file, c.parameters) + pointLight("lamp", "", 0, 0, 3);
        EXPECT_TRUE(RenderedScene(scene.text()).logged(c.message)) << c.message;
    }
}

TEST(VolumesOfBodies, EndWhereTheRayLeavesThem) {
    const auto hazy = [](const std::string& name, const std::string& color, const std::string& refracts) {
        return fmt::format(
            "shader \"{0}_surface\" \"orcaVelaLambert\" ( \"color\" 0 0 0 1, \"transparency\" 1 1 1 1, "
            "\"refractiveIndex\" 1{2} )\nmaterial \"{0}\" \"orcaVelaShadingEngine\" ( "
            "\"surfaceShader\" \"{0}_surface\" ) volume \"testHaze\" ( \"color\" {1} 1 ) end material\n",
            name, color, refracts);
    };
    for (const char* refracts : {"", ", \"refractionsOn\" on"}) {
        TestScene scene;
        scene.traceDepth = "0 9 9";
        scene.cameraStatements = "volume \"testHaze\" ( \"color\" 0.05 0 0 1 )\n";
        scene.contents = glowing("lit", "1 1 1") + card("wall", "lit", 0, 0, -4, 4) +
                         hazy("outer", "0 0.1 0", refracts) + hazy("inner", "0 0 0.3", refracts) +
                         lambert("film", "\"color\" 0 0 0 1, \"transparency\" 1 1 1 1", "1 1 1 1") +
                         box("a", "outer", 1, 1, 2) + box("b", "inner", 0.5f, 0.5f, 1) +
                         card("pane", "film", 0, 0, 5, 4); // bounds nothing
        const RenderedScene picture(scene);
        const auto share = [](float depth) { return std::exp(-depth); };
        expectColor(picture.pixel("main", 8, 8), {share(0.05f * 10), share(0.1f * 2), share(0.3f * 2), 1},
                    1e-4f);
        expectColor(picture.pixel("main", 11, 8), {share(0.05f * 10), share(0.1f * 4), 1, 1}, 1e-4f);
        expectColor(picture.pixel("main", 14, 8), {share(0.05f * 14), 1, 1, 1}, 1e-4f);
    }
}

} // namespace
} // namespace orca::test
