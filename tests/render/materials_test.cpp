// SPDX-License-Identifier: Apache-2.0
/// Materials of velamaterials.so through their adapter, in whole pictures.
#include "rendered_scene.h"
#include "scene_parts.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace orca::test {
namespace {

const std::string library = "link \"velamaterials.so\"\n$include <velamaterials.mi>\n";
constexpr const char* shadowPasses[][3] = {{"diffuse", "shadow", "diffuseNoShadow"},
                                           {"directIrradiance", "rawShadow", "directIrradianceNoShadow"}};

/// A material `name` of a shader of the library; `adapted` are parameters of the adapter, with the name as
/// {0}.
std::string adapted(const std::string& name, const std::string& shader, const std::string& parameters,
                    const std::string& adapted = "\"material\" \"{0}_x\"",
                    const std::string& shadow = "0 0 0 1",
                    const std::string& adapter = "orcaVelaMiaMaterialXAdapter") {
    return fmt::format("shader \"{0}_x\" \"{1}\" ( {2} )\n", name, shader, parameters) +
           surface(name, adapter, fmt::format(fmt::runtime(adapted), name), shadow);
}
template <class... Further>
std::string surfaceX(const std::string& name, const std::string& parameters, const Further&... further) {
    return adapted(name, "velaSurfaceX", parameters, further...);
}
std::string dome(const std::string& parameters, const std::string& samples = "8 8") {
    return fmt::format("light \"dome\" \"velaDomeLight\" ( {} ) user {} end light\n"
                       "instance \"dome_inst\" \"dome\" end instance\n",
                       parameters, samples);
}
const std::string evenSky = "\"zenith\" 1 1 1 1, \"horizon\" 1 1 1 1, \"ground\" 1 1 1 1";

struct FurnaceCase {
    const char *name, *parameters;
    bool exact = true; ///< all light returns; else no more than arrives
    const char *shader = "velaSurfaceX", *white = "\"baseColor\" 1 1 1 1, \"roughness\" {}";
    friend void PrintTo(const FurnaceCase& c, std::ostream* out) { *out << c.name; }
};
class Furnace : public ::testing::TestWithParam<FurnaceCase> {};

/// A ball or a slanted card between skies of 1, which it mirrors, refracts and scatters without a trace.
TEST_P(Furnace, GivesBackTheLightThatArrives) {
    for (const float roughness : {0.0f, 0.2f, 0.5f, 1.0f}) {
        TestScene scene;
        scene.traceDepth = "8 8 16";
        scene.viewWidth = 1.9f;
        scene.cameraStatements = "environment \"velaEnvironmentLatLong\" ( " + evenSky + " )\n";
        scene.contents =
            library +
            adapted("m", GetParam().shader,
                    fmt::format(fmt::runtime(GetParam().white), roughness) +
                        ", \"reflectionSamples\" 8, \"reflectionLimit\" 8, " + GetParam().parameters) +
            sphere("ball", "m", 32) + dome(evenSky + ", \"useRayTraceShadows\" off", "6 6");
        const RenderedScene picture(scene);
        double sum = 0;
        int pixels = 0;
        picture.eachPixel([&](int x, int y) {
            if (std::hypot(x - 7.5, y - 7.5) > 7) return;
            sum += double(picture.pixel("main", x, y).g);
            ++pixels;
        });
        EXPECT_LE(sum / pixels, 1.01) << roughness;
        if (GetParam().exact) {
            EXPECT_GE(sum / pixels, 0.99) << roughness;
        }
    }
}
INSTANTIATE_TEST_SUITE_P(
    Materials, Furnace,
    ::testing::Values(
        FurnaceCase{"Metal", "\"metalness\" 1"}, FurnaceCase{"Plastic", "\"specularIndex\" 1.6"},
        FurnaceCase{"Glass", "\"transmission\" 1"},
        FurnaceCase{"DispersiveGlass", "\"transmission\" 1, \"dispersion\" 0.1"},
        FurnaceCase{"Pane", "\"transmission\" 1, \"thinWalled\" on"},
        FurnaceCase{"CoatedMetal", "\"metalness\" 1, \"coat\" 1, \"coatRoughness\" 0.4"},
        FurnaceCase{"EveryLayer",
                    "\"metalness\" 0.3, \"transmission\" 0.3, \"coat\" 0.8, \"coatRoughness\" 0.3, "
                    "\"sheen\" 0.9, \"anisotropy\" 0.7, \"subsurface\" 0.4, \"subsurfaceColor\" 1 1 1 "
                    "1, \"subsurfaceSamples\" 4, "
                    "\"filmThickness\" 400",
                    false},
        FurnaceCase{"MetallicPaint", "\"pigment\" 0, \"coat\" 0", true, "velaMetallicPaintX",
                    "\"color\" 1 1 1 1, \"roughness\" {}"},
        FurnaceCase{"CarPaint",
                    "\"flakes\" 0.6, \"flakeSize\" 0.5, \"flakeColor\" 1 1 1 1, \"dirt\" 0.1, "
                    "\"dirtColor\" 1 1 1 1",
                    false, "velaCarPaintX",
                    "\"baseColor\" 1 1 1 1, \"edgeColor\" 1 1 1 1, \"flakeSpread\" {}"},
        FurnaceCase{"Skin",
                    "\"diffuseColor\" 1 1 1 1, \"epidermalColor\" 1 1 1 1, \"subdermalColor\" 1 1 1 1, "
                    "\"backColor\" 1 1 1 1, \"back\" 0.5, \"primary\" 1, \"secondary\" 1, "
                    "\"scatterSamples\" 4",
                    true, "velaSkinX", "\"primaryRoughness\" {}"}),
    [](const auto& test) { return std::string(test.param.name); });

/// Flakes that are larger than a pixel glitter, smaller ones are even; together they send back the same.
TEST(Flakes, KeepTheirBrightnessWhenTheyAreTooSmallToSee) {
    const auto look = [](const char* flakeSize) {
        TestScene scene;
        scene.width = scene.height = 64;
        scene.perspective = true;
        scene.cameraStatements =
            "environment \"velaEnvironmentLatLong\" ( \"zenith\" 3 3 3 1, \"horizon\" 1 1 1 1, "
            "\"ground\" 0.2 0.2 0.2 1 )\n";
        scene.contents =
            library +
            adapted("m", "velaCarPaintX",
                    fmt::format("\"flakes\" 1, \"flakeDensity\" 0.7, \"coat\" 0, \"baseColor\" 0 0 0 1, "
                                "\"edgeColor\" 0 0 0 1, \"flakeSize\" {}",
                                flakeSize)) +
            turnedCard("wall", "m", 0, 0, 0, 8, -40);
        const RenderedScene picture(scene);
        double sum = 0, squares = 0;
        picture.eachPixel([&](int x, int y) {
            const double value = double(picture.pixel("main", x, y).g);
            sum += value / 4096;
            squares += value * value / 4096;
        });
        return std::pair(sum, std::sqrt(squares - sum * sum) / sum);
    };
    const auto [distinct, glitter] = look("0.15");
    const auto [even, calm] = look("0.01");
    EXPECT_NEAR(distinct / even, 1.0, 0.1); // single flakes do not hide one another
    EXPECT_GT(glitter, 2 * calm);
}

/// Seen from half as far a flake is where it was, and the pixels over it show it as one pixel did.
TEST(Flakes, KeepTheirPlacesUnderZoom) {
    constexpr int size = 32;
    const auto look = [](float width, float distance) {
        TestScene scene;
        scene.camera = fmt::format("transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 {} 1", -distance);
        scene.width = scene.height = size;
        scene.viewWidth = width;
        scene.samples = "2 2";
        scene.contents = library +
                         adapted("m", "velaCarPaintX",
                                 "\"flakes\" 1, \"flakeSize\" 0.4, \"flakeDensity\" 0.7, \"coat\" 0") +
                         turnedCard("wall", "m", 0, 0, 0, 8, -20) +
                         directionalLight("sun", "\"intensity\" 1", "0 -0.5 -1");
        return std::make_unique<RenderedScene>(scene);
    };
    const auto far = look(4, 10), near = look(2, 7.3f);
    double farSum = 0, farSquares = 0, difference = 0, differenceElsewhere = 0;
    constexpr double count = size * size / 4.0;
    for (int y = 0; y < size / 2; ++y)
        for (int x = 0; x < size / 2; ++x) {
            const auto at = [](const RenderedScene& picture, int px, int py) {
                return double(picture.pixel("main", px, py).r);
            };
            const double one = at(*far, x + size / 4, y + size / 4), shifted = at(*far, x, y + size / 4);
            const double four = (at(*near, 2 * x, 2 * y) + at(*near, 2 * x + 1, 2 * y) +
                                 at(*near, 2 * x, 2 * y + 1) + at(*near, 2 * x + 1, 2 * y + 1)) /
                                4;
            farSum += one / count;
            farSquares += one * one / count;
            difference += (one - four) * (one - four) / count;
            differenceElsewhere += (shifted - four) * (shifted - four) / count;
        }
    const double variance = farSquares - farSum * farSum;
    EXPECT_GT(variance, 0.04 * farSum * farSum); // there is glitter
    EXPECT_LT(difference, 0.25 * variance);
    EXPECT_GT(differenceElsewhere, variance);
}

/// Layers of skin scatter as wax of their paths and albedos does, each to its share.
TEST(Skin, IsTheSumOfItsLayers) {
    const auto spot = [](const std::string& material) {
        TestScene scene;
        scene.width = 9; // a row of pixels out of the spot
        scene.height = 1;
        scene.viewWidth = 3.6f;
        scene.contents = library + material + card("floor", "m", 0, 0, 0, 40) +
                         lambert("black", "\"color\" 0 0 0 1") +
                         card("shade", "black", 30, 0, 1, 30, "visible off trace off") +
                         directionalLight("sun", "\"intensity\" 1", "0 0 -1");
        return std::make_unique<RenderedScene>(scene);
    };
    const auto wax = [&](const char* albedo, const char* path) {
        return spot(
            lambert("m", fmt::format("\"diffuse\" 0, \"scatterColor\" {} 1, \"scatterSamples\" 20000, "
                                     "\"scatterRadius\" {} {} {} 1",
                                     albedo, path, path, path)));
    };
    const auto epidermis = wax("0.9 0.7 0.5", "0.3"), dermis = wax("0.8 0.3 0.2", "0.8"),
               back = wax("0.7 0.1 0.1", "2");
    const auto skin = spot(
        adapted("m", "velaSkinX",
                "\"diffuse\" 0, \"primary\" 0, \"secondary\" 0, \"scatterSamples\" 20000, \"epidermal\" 0.5, "
                "\"epidermalColor\" 0.9 0.7 0.5 1, \"epidermalRadius\" 0.3, \"subdermal\" 0.3, "
                "\"subdermalColor\" 0.8 0.3 0.2 1, \"subdermalRadius\" 0.8, \"back\" 0.2, \"backColor\" 0.7 "
                "0.1 0.1 1, "
                "\"backRadius\" 2"));
    skin->eachPixel([&](int x, int y) {
        const auto at = [&](const auto& picture) { return picture->pixel("main", x, y); };
        const miColor e = at(epidermis), d = at(dermis), b = at(back);
        const auto mixed = [&](auto channel) {
            return 0.5f * e.*channel + 0.3f * d.*channel + 0.2f * b.*channel;
        };
        expectColor(at(skin), {mixed(&miColor::r), mixed(&miColor::g), mixed(&miColor::b), 1}, 0.006f);
    });
    EXPECT_GT(skin->pixel("main", 6, 0).r, 0.02f); // beyond the edge of the shade
}

/// A glossy card sees a lamp by its samples, or by rays when the lamp emits no highlights.
TEST(Highlights, OfAreaLightsAreWhatRaysSee) {
    for (const char* roughness : {"0.15", "0.4", "0.8"}) {
        std::array<double, 2> sums{};
        for (const bool byRays : {false, true}) {
            TestScene scene;
            scene.samples = "2 2";
            scene.contents =
                library +
                surfaceX("m", fmt::format("\"metalness\" 1, \"roughness\" {}, "
                                          "\"reflectionSamples\" 64, \"highlightSamples\" 64",
                                          roughness)) +
                turnedCard("wall", "m", 0, 0, 0, 3, -40) +
                fmt::format("light \"lamp\" \"orcaVelaAreaLight\" ( \"intensity\" 2, \"emitSpecular\" {} ) "
                            "origin 0 0 0 rectangle 0 2 0 2 0 0 1 1 visible end light\n"
                            "instance \"lamp_inst\" \"lamp\" transform 1 0 0 0 0 0 1 0 0 -1 0 0 0 0 -3 1 "
                            "end instance\n",
                            byRays ? "off" : "on");
            const RenderedScene picture(scene);
            picture.eachPixel([&](int x, int y) { sums[byRays] += double(picture.pixel("main", x, y).g); });
        }
        EXPECT_GT(sums[0], 1.0);
        EXPECT_NEAR(sums[0] / sums[1], 1.0, 0.03) << roughness;
    }
}

/// Highlights of a dome and the surroundings in reflections share the light of every direction, seen freely
/// or through a tinted sheet.
TEST(Highlights, OfADomeDoNotRepeatTheSurroundings) {
    const std::string sky = "\"zenith\" 4 4 4 1, \"horizon\" 0.5 0.5 0.5 1, \"ground\" 0.2 0.2 0.2 1";
    for (const bool behindASheet : {false, true}) {
        const auto mean = [&](const char* emitsSpecular) {
            TestScene scene;
            scene.width = scene.height = 8;
            scene.samples = "2 2";
            scene.cameraStatements = "environment \"velaEnvironmentLatLong\" ( " + sky + " )\n";
            scene.addLayers();
            scene.contents = library +
                             surfaceX("m", "\"metalness\" 1, \"roughness\" 0.5, \"reflectionSamples\" 16") +
                             turnedCard("wall", "m", 0, 0, 0, 8, -40) +
                             dome(sky + ", \"emitSpecular\" " + emitsSpecular, "8 8");
            if (behindASheet)
                scene.contents +=
                    lambert("tinted", "\"color\" 0 0 0 1, \"transparency\" 0.7 0.7 0.7 1", "0.7 0.7 0.7 1") +
                    sheet("cover", "tinted", 7);
            const RenderedScene picture(scene);
            expectLayersAddUp(picture);
            double sum = 0;
            picture.eachPixel([&](int x, int y) { sum += double(picture.pixel("main", x, y).g) / 64; });
            return sum;
        };
        EXPECT_NEAR(mean("on") / mean("off"), 1.0, 0.02) << behindASheet;
    }
}

/// An adapter, and a material of the kind that it is for.
struct AdapterCase {
    const char *name, *adapter, *shader, *parameters;
    friend void PrintTo(const AdapterCase& c, std::ostream* out) { *out << c.name; }
    [[nodiscard]] std::string material(const std::string& called) const {
        return adapted(called, shader, parameters, "\"material\" \"{0}_x\"", "0 0 0 1", adapter);
    }
};
class MaterialAdapters : public ::testing::TestWithParam<AdapterCase> {};
INSTANTIATE_TEST_SUITE_P(
    Kinds, MaterialAdapters,
    ::testing::Values(
        AdapterCase{"Surface", "orcaVelaMiaMaterialXAdapter", "velaSurfaceX",
                    "\"roughness\" 0.4, \"coat\" 0.5, \"sheen\" 0.2, \"subsurface\" 0.3"},
        AdapterCase{"CarPaint", "orcaVelaMiCarPaintPhenXAdapter", "velaCarPaintX",
                    "\"flakeSize\" 0.3, \"coatRoughness\" 0.2, \"dirt\" 0.2, \"ambientColor\" 0.1 0 0 1"},
        AdapterCase{"MetallicPaint", "orcaVelaMiMetallicPaintXAdapter", "velaMetallicPaintX",
                    "\"color\" 0.7 0.5 0.2 1, \"pigment\" 0.4, \"flakeSize\" 0.2, \"coatRoughness\" 0.2"},
        AdapterCase{"Skin", "orcaVelaMisssFastShaderXAdapter", "velaSkinX",
                    "\"opacity\" 0.8 0.9 1 1, \"back\" 0.2, \"occlusionSamples\" 4, \"ambientColor\" 0.1 0.1 "
                    "0 1"}),
    [](const auto& test) { return std::string(test.param.name); });

/// Glass, cloth, lacquer, the material of a case, and a leaf before a wall, among lights of all kinds.
std::string shelf(const AdapterCase& of) {
    return library + lambert("wall", "\"color\" 0.7 0.6 0.5 1, \"ambientColor\" 0.1 0.1 0.12 1") +
           surfaceX(
               "glass",
               "\"transmission\" 0.9, \"roughness\" 0, \"dispersion\" 0.05, \"ambientColor\" 0.1 0 0 1") +
           surfaceX("cloth", "\"baseColor\" 0.5 0.1 0.1 1, \"roughness\" 0.9, \"sheen\" 1") +
           surfaceX("lacquer",
                    "\"baseColor\" 0.1 0.3 0.7 1, \"metalness\" 0.5, \"coat\" 1, \"emission\" 0.1") +
           of.material("case") +
           surfaceX("leaf", "\"subsurface\" 1, \"thinWalled\" on, \"opacity\" 0.6 0.7 0.8 1",
                    "\"material\" \"{0}_x\"", "0.4 0.3 0.2 1") +
           card("back", "wall", 0, 0, -2, 6) + turnedCard("floor", "lacquer", 0, -1.6f, 0, 6, -80) +
           turnedCard("left", "cloth", -1.1f, 0.2f, -0.5f, 0.7f, 20) +
           turnedCard("right", "case", 1.1f, 0.2f, -0.5f, 0.7f, -20) +
           turnedCard("pane", "glass", 0.5f, -0.4f, 1, 0.7f, 12) +
           turnedCard("foil", "leaf", -0.5f, 0.5f, 1.5f, 0.6f, 170) +
           directionalLight("sun", "\"intensity\" 0.7", "-0.8 -0.06 -1") +
           pointLight("lamp", "\"intensity\" 0.8, \"color\" 1 0.8 0.6 1", 0.8f, 0.9f, 4) +
           pointLight("behind", "\"intensity\" 0.5, \"useRayTraceShadows\" off", -1, 1, -1) +
           "light \"area\" \"orcaVelaAreaLight\" ( \"intensity\" 2, \"shadowRays\" 4 ) origin 0 0 0 end "
           "light\n"
           "instance \"area_inst\" \"area\" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 -2 -4 1 end instance\n"
           "light \"even\" \"orcaVelaAmbientLight\" ( \"intensity\" 0.1 ) origin 0 0 0 end light\n"
           "instance \"even_inst\" \"even\" end instance\n";
}

TEST_P(MaterialAdapters, MakeLayersThatAddUpToThePicture) {
    TestScene scene;
    scene.addLayers();
    for (const auto& [shadowed, shadow, unshadowed] : shadowPasses)
        for (const char* pass : {shadowed, shadow, unshadowed}) {
            if (std::find(scene.passes.begin(), scene.passes.end(), pass) != scene.passes.end()) continue;
            scene.passes.emplace_back(pass);
            scene.passFlags.emplace_back(
                pass == shadowPasses[0][1] ? "\"shadowed\" on" : "\"shadowed\" on, \"weightByOpacity\" on");
        }
    scene.traceDepth = "3 3 5";
    scene.contents = shelf(GetParam());
    const RenderedScene picture(scene);
    expectLayersAddUp(picture);
    picture.eachPixel([&](int x, int y) {
        for (const auto& [shadowed, shadow, unshadowed] : shadowPasses)
            expectColor(picture.pixel(shadowed, x, y) + picture.pixel(shadow, x, y),
                        picture.pixel(unshadowed, x, y), 2e-5f, unshadowed);
    });
}

/// The picture is the one that the material calls its own, shown by a surface that does nothing but glow.
TEST_P(MaterialAdapters, ShowWhatTheirMaterialShows) {
    const auto render = [&](const char* material) {
        TestScene scene;
        scene.contents = library + GetParam().material("adapted") +
                         lambert("glow", "\"diffuse\" 0, \"incandescence\" = \"adapted_x.color\"") +
                         turnedCard("wall", material, 0, 0, 0, 3, -30) + glowing("bright", "1 2 3") +
                         sheet("ceiling", "bright", 6) + pointLight("lamp", "\"intensity\" 1", 1, 2, 4);
        return std::make_unique<RenderedScene>(scene);
    };
    const auto adapted = render("adapted"), alone = render("glow");
    adapted->eachPixel(
        [&](int x, int y) { expectColor(adapted->pixel("main", x, y), alone->pixel("main", x, y), 1e-5f); });
}

/// With its members connected one by one the material runs once as well, and tells of its lights all the
/// same.
TEST(MaterialAdapter, TakesConnectedMembersAsItTakesTheMaterial) {
    std::string members;
    for (const char* member :
         {"opacity", "ambient", "diffuse", "indirect", "reflection", "refraction", "translucence", "scatter",
          "emission", "diffuseColor", "specularColor", "reflectionColor"})
        members += fmt::format("\"{0}\" = \"{{0}}_x.{0}\", ", member);
    TestScene scene;
    scene.addLayers();
    scene.samples = "0 0";
    // Without highlights in layers of their own: coat and sheen have no parameter.
    const auto render = [&](const std::string& adapted) {
        scene.contents = library +
                         surfaceX("m",
                                  "\"roughness\" 0.4, \"subsurface\" 0.3, \"emission\" 0.2, "
                                  "\"opacity\" 0.5 0.6 0.7 1",
                                  adapted) +
                         turnedCard("wall", "m", 0, 0, 0, 3, -20) +
                         lambert("grey", "\"color\" 0.3 0.5 0.4 1") + card("back", "grey", 0, 0, -2, 3) +
                         pointLight("lamp", "\"intensity\" 1", 0.5f, 0.5f, 3);
        return std::make_unique<RenderedScene>(scene);
    };
    const auto whole = render("\"material\" \"{0}_x\""),
               parts = render(members + "\"specular\" = \"{0}_x.specular\"");
    for (const std::string& layer : scene.passes)
        whole->eachPixel([&](int x, int y) {
            expectColor(parts->pixel(layer, x, y), whole->pixel(layer, x, y), 1e-5f, layer);
        });
}

/// Each pass has the lights that its masks let in, as if there were no other.
TEST_P(MaterialAdapters, SortLightIntoThePassesOfEachLamp) {
    const auto render = [](bool first, bool second) {
        TestScene scene;
        scene.passes = {"diffuse", "specular"}; // records 0 and 1
        scene.baseState = "\"additivePasses\" on";
        scene.contents = library + passMask("onlyDiffuse", "1") + passMask("onlySpecular", "2") +
                         GetParam().material("m") + card("wall", "m", 0, 0, 0, 3);
        if (first) scene.contents += pointLight("a", "\"intensity\" 1", 1, 0, 2, "data \"onlyDiffuse\"");
        if (second) scene.contents += pointLight("b", "\"intensity\" 2", -1, 0, 2, "data \"onlySpecular\"");
        return std::make_unique<RenderedScene>(scene);
    };
    const auto both = render(true, true), first = render(true, false), second = render(false, true);
    both->eachPixel([&](int x, int y) {
        expectColor(both->pixel("diffuse", x, y), first->pixel("diffuse", x, y), 1e-6f, "diffuse");
        expectColor(both->pixel("specular", x, y), second->pixel("specular", x, y), 1e-6f, "specular");
    });
    EXPECT_GT(both->pixel("diffuse", 12, 8).g, 0.01f);
    EXPECT_GT(both->pixel("specular", 4, 8).g, 0.01f);
}

/// A material of another library, by the names of its members; what none of them holds is emission.
TEST(MaterialAdapter, FindsComponentsByTheNamesOfMembers) {
    TestScene scene;
    scene.addLayers();
    scene.contents = "shader \"m_x\" \"testComponents\" ( )\n" +
                     surface("m", "orcaVelaMiaMaterialXAdapter", "\"material\" \"m_x\"") +
                     card("wall", "m", 0, 0, 0, 3);
    const RenderedScene picture(scene);
    expectLayersAddUp(picture);
    const std::pair<const char*, float> expected[] = {{"diffuse", 0.1f},
                                                      {"specular", 0.2f},
                                                      {"reflection", 0.4f},
                                                      {"incandescence", 0.3f},
                                                      {"beauty", 1.0f}};
    for (const auto& [layer, value] : expected)
        EXPECT_NEAR(picture.pixel(layer, 8, 8).g, value, 1e-6f) << layer;
}

} // namespace
} // namespace orca::test
