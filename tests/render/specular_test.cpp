// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

void expectNear(const miColor& a, const miColor& b, float tolerance, const std::string& what) {
    EXPECT_NEAR(a.r, b.r, tolerance) << what;
    EXPECT_NEAR(a.g, b.g, tolerance) << what;
    EXPECT_NEAR(a.b, b.b, tolerance) << what;
}

/// A mirror that nothing else adds to.
constexpr const char* PURE_MIRROR = "\"color\" 0 0 0 1, \"specularColor\" 1 1 1 1, \"reflectivity\" 1, ";

std::string glowing(const std::string& name, const std::string& color) {
    return lambert(name, "\"color\" 0 0 0 1, \"incandescence\" " + color + " 1");
}

/// Square of half size `half` about (x, y, z), turned by `degrees` about the x axis: at 90 it faces -y.
std::string turnedCard(const std::string& name, const std::string& material, float x, float y, float z,
                       float half, float degrees) {
    const float angle = degrees * 3.14159265f / 180.0f;
    const float c = std::cos(angle);
    const float s = std::sin(angle);
    // Parent to local: moved back, then turned back.
    return fmt::format(
        "object \"{0}_mesh\" visible shadow trace group\n"
        "-{1} -{1} 0 {1} -{1} 0 {1} {1} 0 -{1} {1} 0\nv 0 v 1 v 2 v 3\np \"{2}\" 0 1 2 3\n"
        "end group end object\n"
        "instance \"{0}\" \"{0}_mesh\" transform 1 0 0 0 0 {3} {4} 0 0 {5} {3} 0 {6} {7} {8} 1 "
        "end instance\n",
        name, half, material, c, -s, s, -x, -(y * c + z * s), -(-y * s + z * c));
}

/// A mirror at 45 degrees on the camera's axis throws its rays up to a board overhead.
TestScene periscope(const std::string& mirror) {
    TestScene scene;
    scene.passes = {"beauty", "reflection", "reflectedMaterialColor", "incandescence"};
    scene.passFlags = {"", "\"shadowed\" on", "\"shadowed\" on", "\"shadowed\" on"};
    scene.contents = glowing("red", "0.8 0.1 0.1") + glowing("blue", "0.1 0.1 0.8") + mirror +
                     turnedCard("mirror", "mirror_material", 0, 0, 0, 3, -45) +
                     turnedCard("front", "red", 0, 4, 5, 5, 90) + turnedCard("back", "blue", 0, 4, -5, 5, 90);
    scene.members = {"mirror", "front", "back"};
    return scene;
}

TEST(Mirror, ShowsWhatGeometrySaysItShows) {
    const TestScene scene = periscope(
        surface("mirror_material", "orcaVelaPhong", std::string(PURE_MIRROR) + "\"cosinePower\" 10"));
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    // The mirror leans back: rays above its middle fall behind it and go up to the board there.
    for (int y = 0; y < 16; ++y) {
        const miColor seen = picture.pixel("main", 5, y);
        const miColor expected = y < 8 ? miColor{0.8f, 0.1f, 0.1f, 1} : miColor{0.1f, 0.1f, 0.8f, 1};
        expectNear(seen, expected, 1e-5f, "row " + std::to_string(y));
        expectNear(picture.pixel("beauty", 5, y), seen, 1e-6f, "beauty");
        expectNear(picture.pixel("reflection", 5, y), seen, 1e-6f, "reflection");
        EXPECT_EQ(picture.pixel("incandescence", 5, y).r, 0.0f); // not of the mirror's own level
    }
}

TEST(Mirror, IsWeighedByTheMaterialsReflectivity) {
    const float at45 = 1.0f - std::sqrt(0.5f);
    const float f = at45 * at45 * at45;
    const struct {
        std::string shader, parameters;
        float expected;
    } cases[] = {
        {"orcaVelaPhong", "\"reflectivity\" 0.25", 0.25f},
        {"orcaVelaPhongE", "\"reflectivity\" 0.5", 0.5f},
        {"orcaVelaBlinn", "\"reflectivity\" 0.5, \"specularRollOff\" 0.4", 0.5f * (f + (1 - f) * 0.4f)},
        {"orcaVelaAnisotropic", "\"reflectivity\" 0.5, \"anisotropicReflectivity\" off", 0.5f},
        // Fresnel at 45 degrees and index 1.5 is 0.0502; a roughness of a half leaves a quarter of it.
        {"orcaVelaAnisotropic", "\"fresnelIndex\" 1.5, \"roughness\" 0.5", 0.050240f * 0.25f},
    };
    for (const auto& c : cases) {
        const RenderedScene picture(
            periscope(surface("mirror_material", c.shader,
                              "\"color\" 0 0 0 1, \"specularColor\" 1 0.5 0 1, " + c.parameters))
                .text());
        ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
        const miColor seen = picture.pixel("main", 8, 2);
        expectNear(seen, {c.expected * 0.8f, c.expected * 0.05f, 0, 1}, 2e-5f, c.shader);
        expectNear(picture.pixel("reflectedMaterialColor", 8, 2), {c.expected, c.expected * 0.5f, 0, 1},
                   2e-5f, c.shader);
        expectNear(picture.pixel("beauty", 8, 2), seen, 1e-6f, c.shader);
    }
}

/// Two mirrors face one another between boards; half of the light is lost at each.
TEST(Mirror, StopsAtTheTighterOfTheLimits) {
    const auto corridor = [](const std::string& limit, const std::string& traceDepth) {
        TestScene scene;
        scene.traceDepth = traceDepth;
        scene.passes = {"beauty"};
        // The eye looks straight into a mirror; everything behind the eye glows and reflects as well.
        scene.contents = surface("front", "orcaVelaPhong",
                                 "\"color\" 0 0 0 1, \"incandescence\" 1 1 1 1, \"specularColor\" 1 1 1 1, "
                                 "\"reflectivity\" 0.5, \"reflectedColor\" 0.125 0 0 1, " +
                                     limit) +
                         card("mirror", "front", 0, 0, 0, 8) +
                         turnedCard("opposite", "front", 0, 0, 20, 8, 180);
        scene.members = {"mirror", "opposite"};
        const RenderedScene picture(scene.text());
        EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
        expectNear(picture.pixel("beauty", 8, 8), picture.pixel("main", 8, 8), 1e-6f,
                   limit + ' ' + traceDepth);
        return picture.pixel("main", 8, 8);
    };
    const auto expected = [](int bounces) {
        miColor sum{};
        float weight = 1.0f;
        for (int i = 0; i <= bounces; ++i, weight *= 0.5f) {
            sum.g += weight;
            sum.r += weight * (1.0f + 0.5f * 0.125f);
        }
        return sum;
    };
    const auto check = [&](const char* limit, const char* depth, int bounces) {
        const miColor seen = corridor(limit, depth);
        EXPECT_NEAR(seen.g, expected(bounces).g, 1e-5f) << limit << ' ' << depth;
        EXPECT_NEAR(seen.r, expected(bounces).r, 1e-5f) << limit << ' ' << depth;
    };
    check("\"reflectionLimit\" 0", "6 6 6", 0);
    check("\"reflectionLimit\" 1", "6 6 6", 1);
    check("\"reflectionLimit\" 3", "6 6 6", 3);
    check("\"reflectionLimit\" 9", "2 6 6", 2);
    check("\"reflectionLimit\" 9", "6 6 2", 2);
}

/// All materials before one another: Lambert boards behind glass, mirrors that see mirrors, hard lights.
TestScene gallery(const std::string& lampStatements = "", const std::string& sunStatements = "") {
    TestScene scene;
    scene.baseState = "\"additivePasses\" on";
    scene.width = scene.height = 32;
    scene.perspective = true;
    scene.traceDepth = "3 4 6";
    scene.contents =
        lambert("wall", "\"color\" 0.7 0.6 0.5 1, \"ambientColor\" 0.1 0.1 0.12 1") +
        surface("phong", "orcaVelaPhong",
                "\"color\" 0.2 0.3 0.7 1, \"specularColor\" 0.9 0.8 0.7 1, \"reflectivity\" 0.6, "
                "\"cosinePower\" 8, "
                "\"ambientColor\" 0.1 0 0 1") +
        surface("phongE", "orcaVelaPhongE",
                "\"color\" 0.1 0.5 0.2 1, \"whiteness\" 0.05, \"highlightSize\" 0.9") +
        surface("blinn", "orcaVelaBlinn",
                "\"color\" 0.6 0.2 0.1 1, \"incandescence\" 0.02 0.01 0.03 1, \"eccentricity\" 0.5, "
                "\"reflectivity\" 0.8") +
        surface("aniso", "orcaVelaAnisotropic", "\"color\" 0.3 0.3 0.1 1, \"roughness\" 0.6, \"angle\" 25") +
        surface("glass", "orcaVelaBlinn",
                "\"color\" 0.1 0.1 0.1 1, \"transparency\" 0.6 0.7 0.8 1, \"refractionsOn\" on, "
                "\"refractiveIndex\" 1.5, "
                "\"eccentricity\" 0.4",
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
        directionalLight("sun", "\"intensity\" 0.7", "-0.8 -0.06 -1", sunStatements) +
        pointLight("lamp", "\"intensity\" 0.8, \"color\" 1 0.8 0.6 1", 0.8f, 0.9f, 4, lampStatements);
    scene.members = {"back", "floor", "roof",   "left",     "right",
                     "pane", "foil",  "behind", "sun_inst", "lamp_inst"};
    return scene;
}

constexpr const char* LAYERS[] = {"ambient",    "diffuse",    "specular", "incandescence",
                                  "reflection", "refraction", "indirect"};

/// Where the compositor adds up the first level: components of that level alone, the opaque ones by opacity.
void addLayers(TestScene& scene) {
    scene.passes.push_back("beauty");
    scene.passFlags.push_back("");
    for (const std::string layer : LAYERS) {
        scene.passes.push_back(layer);
        const bool opaque = layer == "ambient" || layer == "diffuse" || layer == "indirect";
        scene.passFlags.push_back(std::string("\"shadowed\" on") +
                                  (opaque ? ", \"weightByOpacity\" on" : ""));
    }
}

/// Largest difference, relative for values above 1.
float difference(const miColor& a, const miColor& b) {
    const auto one = [](float x, float y) { return std::abs(x - y) / std::max(1.0f, std::abs(y)); };
    return std::max({one(a.r, b.r), one(a.g, b.g), one(a.b, b.b)});
}

TEST(SpecularIdentities, HoldWithMirrorsInMirrorsGlassAndFilmUnderHardLights) {
    TestScene scene = gallery();
    addLayers(scene);
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    int bright[std::size(LAYERS)] = {};
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 32; ++x) {
            const miColor main = picture.pixel("main", x, y);
            ASSERT_LT(difference(picture.pixel("beauty", x, y), main), 1e-5f) << x << ' ' << y;
            miColor sum{};
            for (std::size_t i = 0; i < std::size(LAYERS); ++i) {
                const miColor layer = picture.pixel(LAYERS[i], x, y);
                sum = {sum.r + layer.r, sum.g + layer.g, sum.b + layer.b, 1};
                bright[i] += layer.r > 1e-3f;
            }
            ASSERT_LT(difference(sum, main), 1e-5f) << x << ' ' << y;
        }
    for (std::size_t i = 0; i + 1 < std::size(LAYERS); ++i) EXPECT_GT(bright[i], 4) << LAYERS[i];
}

TEST(SpecularMasks, ALightOutOfAPassMightAsWellNotBeThere) {
    // Records 0 and 1: the beauty takes the lamp alone, the highlights the sun alone.
    const std::string masks = passMask("beauty only", "1") + passMask("specular only", "2");
    TestScene scene = gallery("data \"beauty only\"", "data \"specular only\"");
    scene.contents = masks + scene.contents;
    scene.passes = {"beauty", "specular"};
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();

    TestScene lampAlone = gallery();
    std::erase(lampAlone.members, "sun_inst");
    TestScene sunAlone = gallery();
    std::erase(sunAlone.members, "lamp_inst");
    sunAlone.passes = {"specular"};
    const RenderedScene lamp(lampAlone.text());
    const RenderedScene sun(sunAlone.text());
    int lit = 0;
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 32; ++x) {
            ASSERT_LT(difference(picture.pixel("beauty", x, y), lamp.pixel("main", x, y)), 1e-5f)
                << x << ' ' << y;
            const miColor highlight = sun.pixel("specular", x, y);
            ASSERT_LT(difference(picture.pixel("specular", x, y), highlight), 1e-5f) << x << ' ' << y;
            lit += highlight.r > 1e-3f;
        }
    EXPECT_GT(lit, 32);
}

/// Cards seen and lit head on: every model's highlight is at its peak.
TEST(HardLight, MakesHighlightsThatShadowsAndObjectMasksTakeAway) {
    const struct {
        std::string shader, parameters;
        float peak;
    } cases[] = {
        {"orcaVelaPhong", "\"cosinePower\" 7", 1.0f},
        {"orcaVelaPhongE", "\"whiteness\" 0.05", 0.5f},
        {"orcaVelaBlinn", "\"eccentricity\" 0.3, \"specularRollOff\" 0.7", 0.7f},
        // Density over four, less the reflectance of index 3 head on: ((3 - 1) / (3 + 1))^2.
        {"orcaVelaAnisotropic", "\"roughness\" 1, \"spreadX\" 0.5, \"spreadY\" 0.25, \"fresnelIndex\" 3",
         0.25f / (4 * 0.5f * 0.25f)},
    };
    for (const auto& c : cases) {
        TestScene scene;
        scene.passes = {"beauty", "specular", "specularNoShadow", "specularMaterialColor"};
        scene.passFlags = {"", "\"shadowed\" on", " \"shadowed\" off", "\"shadowed\" on"};
        scene.contents = passMask("not in specular", "D") +
                         surface("shiny", c.shader,
                                 "\"color\" 0 0 0 1, \"reflectivity\" 0, \"anisotropicReflectivity\" off, "
                                 "\"specularColor\" 0.5 0.25 1 1, " +
                                     c.parameters) +
                         lambert("black", "\"color\" 0 0 0 1") + card("lit", "shiny", 1, 1, 0, 1) +
                         card("masked", "shiny", -1, 1, 0, 1, "data \"not in specular\"") +
                         card("shaded", "shiny", 1, -1, 0, 1) +
                         card("roof", "black", 1, -1, 1, 1, "visible off") +
                         directionalLight("sun", "\"intensity\" 2", "0 0 -1");
        scene.members = {"lit", "masked", "shaded", "roof", "sun_inst"};
        if (c.shader != "orcaVelaAnisotropic") {
            const std::string only = "\"anisotropicReflectivity\" off, ";
            scene.contents.erase(scene.contents.find(only), only.size());
        }
        const RenderedScene picture(scene.text());
        ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
        const miColor peak{c.peak, c.peak * 0.5f, c.peak * 2, 1};
        const miColor none{};
        expectNear(picture.pixel("main", 12, 12), peak, 1e-4f, c.shader);
        expectNear(picture.pixel("beauty", 12, 12), peak, 1e-4f, c.shader);
        expectNear(picture.pixel("specular", 12, 12), peak, 1e-4f, c.shader);
        expectNear(picture.pixel("specularNoShadow", 12, 12), peak, 1e-4f, c.shader);
        expectNear(picture.pixel("specularMaterialColor", 12, 12), {0.5f, 0.25f, 1, 1}, 1e-6f, c.shader);
        expectNear(picture.pixel("beauty", 3, 12), peak, 1e-4f, c.shader);
        expectNear(picture.pixel("specular", 3, 12), none, 0, c.shader);
        expectNear(picture.pixel("beauty", 12, 3), none, 0, c.shader);
        expectNear(picture.pixel("specular", 12, 3), none, 0, c.shader);
        expectNear(picture.pixel("specularNoShadow", 12, 3), peak, 1e-4f, c.shader);
    }
}

TEST(HardLight, ShinesOnceForEachSideOnBackFaces) {
    const auto highlight = [](float degrees) {
        TestScene scene;
        scene.passes = {"beauty"};
        scene.contents = surface("shiny", "orcaVelaPhong", "\"color\" 0 0 0 1, \"reflectivity\" 0") +
                         turnedCard("card", "shiny", 0, 0, 0, 3, degrees) +
                         directionalLight("sun", "\"useRayTraceShadows\" off", "0 0 -1");
        scene.members = {"card", "sun_inst"};
        const RenderedScene picture(scene.text());
        EXPECT_EQ(picture.pixel("main", 8, 8).r, picture.pixel("beauty", 8, 8).r);
        return picture.pixel("main", 8, 8).r;
    };
    EXPECT_NEAR(highlight(0), 0.5f, 1e-5f);
    EXPECT_NEAR(highlight(180), 1.0f, 1e-5f);
}

TEST(ReflectionBlur, ConvergesToTheConesMeanAndKeepsTheIdentity) {
    // The cone about the mirror direction is 0.2 radians wide; half of it sees the glowing board.
    const auto blurred = [](int samples) {
        TestScene scene;
        scene.passes = {"beauty"};
        scene.contents = glowing("white", "1 1 1") +
                         surface("mirror", "orcaVelaPhong",
                                 std::string(PURE_MIRROR) + fmt::format("\"reflectionBlur\" 0.2, "
                                                                        "\"reflectionBlurSamples\" {}",
                                                                        samples)) +
                         card("mirror_card", "mirror", 0, 0, 0, 3) +
                         turnedCard("board", "white", 50, 0, 20, 50, 180);
        scene.members = {"mirror_card", "board"};
        const RenderedScene picture(scene.text());
        double error = 0.0;
        for (int y = 0; y < 16; ++y) {
            // The board's edge passes over x = 0: pixels 7 and 8 lie an eighth beside it, of a disc of
            // radius 4.05.
            const float seen = picture.pixel("main", 8, y).r;
            EXPECT_NEAR(picture.pixel("beauty", 8, y).r, seen, 1e-6f);
            const double d = 0.125 / (20.0 * std::tan(0.2));
            const double share = 0.5 + (d * std::sqrt(1 - d * d) + std::asin(d)) / 3.14159265358979;
            error = std::max(error, std::abs(seen - share));
        }
        return error;
    };
    EXPECT_GT(blurred(1), 0.4); // one sharp ray
    const double coarse = blurred(16);
    const double fine = blurred(256);
    EXPECT_LT(coarse, 0.15);
    EXPECT_LT(fine, 0.02);
    EXPECT_LE(fine, coarse);
}

} // namespace
} // namespace orca::test
