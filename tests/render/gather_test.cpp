// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include "render/gather/gather_cache.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

/// Every sample gathers for itself.
constexpr const char* PLAIN = "finalgather presample density 0 ";
/// Light is gathered ahead.
constexpr const char* AHEAD = "finalgather presample density 1 ";

std::string gathering(int rays, int bounces = 0, const std::string& more = "") {
    return fmt::format("finalgather on finalgather accuracy {} finalgather trace depth 4 4 4 {} {} ", rays,
                       bounces, more);
}

class Gather : public ::testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Modes, Gather, ::testing::Values(PLAIN, AHEAD),
                         [](const auto& mode) { return mode.param == PLAIN ? "Plain" : "Ahead"; });

TEST_P(Gather, GivesAWhiteCardInWhiteSurroundingsTheirLight) {
    TestScene scene;
    scene.passes = {"beauty", "indirect"};
    scene.extraOptions = gathering(64, 0, GetParam());
    scene.contents =
        glowing("sky", "1 1 1") + white() +
        lambert("tinted", "\"color\" 0.5 0.25 1 1, \"diffuse\" 0.5, \"irradianceColor\" 1 1 0.5 1") +
        box("dome", "sky", 30, 30, 30) + card("left", "white", -1, 0, 0, 1) +
        card("right", "tinted", 1, 0, 0, 1);
    const RenderedScene picture(scene);
    EXPECT_NEAR(picture.pixel("main", 4, 8).g, 1.0f, 1e-5f);
    const miColor tinted = picture.pixel("main", 12, 8);
    EXPECT_NEAR(tinted.r, 0.25f, 1e-5f);
    EXPECT_NEAR(tinted.g, 0.125f, 1e-5f);
    EXPECT_NEAR(tinted.b, 0.25f, 1e-5f);
    EXPECT_NEAR(picture.pixel("indirect", 12, 8).r, tinted.r, 1e-6f);
    EXPECT_NEAR(picture.pixel("beauty", 12, 8).r, tinted.r, 1e-6f);
}

/// Of a square's light, on a plane parallel to it at a distance of 2: by rectangles from the point's foot to
/// each corner (J. R. Howell, "A Catalog of Radiation Heat Transfer Configuration Factors", B-3).
double lightBelowSquare(double x, double y) {
    const auto toCorner = [](double a, double b) {
        const double u = std::hypot(a, 2.0), v = std::hypot(b, 2.0);
        return (a / u * std::atan(b / u) + b / v * std::atan(a / v)) / (2 * 3.14159265358979);
    };
    return toCorner(1 - x, 1 - y) + toCorner(1 - x, 1 + y) + toCorner(1 + x, 1 - y) + toCorner(1 + x, 1 + y);
}

TEST_P(Gather, SeesASquareAsItsFormFactorHasIt) {
    TestScene scene;
    scene.extraOptions = gathering(4096, 0, GetParam());
    scene.width = scene.height = 9;
    scene.contents = glowing("lamp", "1 1 1") + white() + card("floor", "white", 0, 0, 0, 3) +
                     card("square", "lamp", 0, 0, 2, 1, "visible off");
    const double light = lightBelowSquare(0, 0);
    EXPECT_NEAR(RenderedScene(scene).middle().r, light, 0.012 * light);
}

/// In a closed box that glows by 1 and sends back half, every bounce adds half of the one before.
TEST_P(Gather, CountsBouncesAndObeysScaleAndFalloff) {
    const auto seen = [&](int bounces, const std::string& more = "") {
        TestScene scene;
        scene.extraOptions = gathering(64, bounces, GetParam() + more);
        scene.contents =
            lambert("wall", "\"color\" 0.5 0.5 0.5 1, \"diffuse\" 1, \"incandescence\" 1 1 1 1") +
            box("room", "wall", 20, 20, 20);
        return RenderedScene(scene).middle();
    };
    EXPECT_NEAR(seen(0).r, 1.5f, 1e-4f);
    EXPECT_NEAR(seen(1).r, 1.75f, 1e-4f);
    for (const int bounces : {2, 3}) {
        // Deeper bounces may share light that was gathered with one more.
        EXPECT_GT(seen(bounces).r, 1.87f) << bounces;
        EXPECT_LT(seen(bounces).r, 2.0001f) << bounces;
    }
    const miColor scaled = seen(1, "finalgather scale 1 0.5 0 finalgather secondary scale 0 1 1");
    expectColor(scaled, {1.5f, 1 + 0.25f * 1.5f, 1.0f, 1}, 1e-4f); // red: nothing between bounces
    // No wall is that near, and the sky is black; in part; and all of it.
    EXPECT_NEAR(seen(1, "finalgather falloff 0.5").r, 1.0f, 1e-4f);
    EXPECT_NEAR(seen(1, "finalgather falloff 10 60").r, 1.352f, 0.01f);
    EXPECT_NEAR(seen(1, "finalgather falloff 100 200").r, 1.75f, 1e-4f);
}

/// A block and a mirror on a floor below a large lamp.
TestScene corner(const std::string& mode, int rays = 512, int bounces = 1) {
    TestScene scene;
    scene.width = scene.height = 48;
    scene.extraOptions = gathering(rays, bounces, mode);
    scene.traceDepth = "3 3 5";
    scene.passes = {"beauty", "indirect"};
    scene.contents = glowing("lamp", "1 1 1") + lambert("white", "\"color\" 0.8 0.8 0.8 1, \"diffuse\" 1") +
                     lambert("red", "\"color\" 0.8 0.1 0.1 1, \"diffuse\" 1") + mirror("mirror", 0.8f) +
                     card("floor", "white", 0, 0, -1, 4) + box("block", "red", 0.5f, 0.8f, 0.6f) +
                     card("lid", "mirror", 1.4f, 1.2f, 0, 0.4f) +
                     card("square", "lamp", -1, 0.5f, 5, 3, "visible off");
    return scene;
}

TEST(GatherPrepass, AgreesWithGatheringEverywhere) {
    // So few pixels want a point in each.
    const RenderedScene ahead(corner("finalgather presample density 16 ", 2048, 0));
    const RenderedScene plain(corner(PLAIN, 2048, 0));
    double sum = 0.0, difference = 0.0, signedSum = 0.0;
    ahead.eachPixel([&](int x, int y) {
        const double a = ahead.pixel("main", x, y).g, b = plain.pixel("main", x, y).g;
        sum += b;
        difference += std::abs(a - b);
        signedSum += a - b;
        EXPECT_NEAR(ahead.pixel("beauty", x, y).g, a, 1e-5 * a + 2e-6);
    });
    EXPECT_LT(difference / sum, 0.05);
    EXPECT_NEAR(signedSum / sum, 0.0, 0.02); // shadows lose some of their depth
    EXPECT_GT(sum / (48 * 48), 0.05);
    // The point of it all: far fewer rays.
    EXPECT_LT(ahead.result().statistics.rays.gather * 4, plain.result().statistics.rays.gather);
}

/// Records that have to serve far around are right as long as their gradients are.
TEST(GatherPrepass, FollowsTheGradientsOfItsRecords) {
    TestScene scene;
    scene.extraOptions = gathering(4096, 0, AHEAD) + "finalgather accuracy 4096 1.2 1.2 ";
    scene.width = scene.height = 24;
    scene.contents = glowing("lamp", "1 1 1") + white() + card("floor", "white", 0, 0, 0, 3) +
                     card("square", "lamp", 0, 0, 2, 1, "visible off");
    const RenderedScene picture(scene);
    double difference = 0.0, sum = 0.0;
    picture.eachPixel([&](int x, int y) {
        const double light = lightBelowSquare((x + 0.5) / 6 - 2, (y + 0.5) / 6 - 2);
        difference += std::abs(picture.pixel("main", x, y).g - light);
        sum += light;
    });
    EXPECT_LT(difference / sum, 0.02);
}

/// Of the light that reaches another surface a record says nothing.
TEST(GatherCache, AnswersInThePlaneOfARecordAlone) {
    render::GatherCache cache({-1, -1, -1}, {1, 1, 1});
    render::GatherRecord record{};
    record.normal = {0, 0, 1};
    record.radiance = {1, 1, 1, 1};
    record.radius = 1;
    cache.add(record);
    miColor found;
    EXPECT_TRUE(cache.find({0.3f, 0, 0}, {0, 0, 1}, 1, found));
    EXPECT_FALSE(cache.find({0, 0, 0.3f}, {0, 0, 1}, 1, found));
    EXPECT_FALSE(cache.find({0.3f, 0, 0}, {1, 0, 0}, 1, found));
}

TEST(GatherPrepass, IsTheSameForAnyThreads) {
    RenderedScene::Settings many;
    many.threads = 3;
    many.tileSize = 7;
    TestScene scene = corner(AHEAD);
    scene.samples = "0 1";
    const RenderedScene one(scene);
    const RenderedScene three(scene, many);
    EXPECT_EQ(one.words("main"), three.words("main"));
    EXPECT_EQ(one.result().statistics.rays.gather, three.result().statistics.rays.gather);
}

TEST(GatherPrepass, LooksAtMorePointsWhereTheRadiiAreSmaller) {
    const auto rays = [](const std::string& radii) {
        TestScene scene = corner(AHEAD);
        scene.extraOptions += "finalgather accuracy 64 " + radii;
        return RenderedScene(scene).result().statistics.rays.gather;
    };
    EXPECT_GT(rays("0.1 0.01"), rays("3 2") * 2);
}

/// Seen in a mirror: a wall whose light comes from behind it, by way of another mirror.
TEST(GatherDepth, CountsFromTheSurfaceThatGathers) {
    TestScene scene;
    scene.extraOptions = gathering(256, 0, PLAIN) + "finalgather trace depth 1 1 1 0 ";
    scene.contents = "material \"mirror\" \"testMirror\" ( \"color\" 0 0 0 1 ) end material\n" + white() +
                     glowing("light", "1 1 1") + turnedCard("periscope", "mirror", 0, 0, 0, 3, -45) +
                     turnedCard("wall", "white", 0, 10, 0, 3, 90) +
                     turnedCard("behind", "light", 0, 11, 0, 400, 90) +
                     turnedCard("opposite", "mirror", 0, -40, 0, 400, -90);
    EXPECT_GT(RenderedScene(scene).middle().r, 0.8f);
}

TEST(GatherSettingsOfObjects, TakeTheirNumberOfRays) {
    const auto rays = [](const std::string& settings) {
        TestScene scene;
        scene.width = scene.height = 4;
        scene.extraOptions = gathering(100, 0, PLAIN);
        scene.contents = "data \"own\" \"orcaGatherSettings\" ( \"rays\" 10 ) end data\n" + white() +
                         card("floor", "white", 0, 0, 0, 4);
        const std::string anchor = "object \"floor_mesh\" ";
        scene.contents.insert(scene.contents.find(anchor) + anchor.size(), settings);
        const RenderedScene picture(scene);
        return picture.result().statistics.rays.gather;
    };
    EXPECT_EQ(rays(""), 4u * 4u * 100u);
    EXPECT_EQ(rays("data \"own\" "), 4u * 4u * 10u);
}

/// Reflections and diffuse light together never exceed a white environment, from any side.
TEST(Energy, IsNotMadeByMaterialsInAWhiteEnvironment) {
    const struct {
        const char *name, *shader, *parameters;
        float least;
    } cases[] = {
        {"lambert", "orcaVelaLambert", "\"color\" 1 1 1 1, \"diffuse\" 1", 0.999f},
        {"phong", "orcaVelaPhong",
         "\"color\" 0.6 0.6 0.6 1, \"diffuse\" 1, \"specularColor\" 1 1 1 1, \"reflectivity\" 0.4", 0.999f},
        {"blinn", "orcaVelaBlinn",
         "\"color\" 0 0 0 1, \"specularColor\" 1 1 1 1, \"reflectivity\" 1, \"specularRollOff\" 0.3", 0.2f},
        {"anisotropic", "orcaVelaAnisotropic",
         "\"color\" 0 0 0 1, \"specularColor\" 1 1 1 1, \"fresnelIndex\" 20, \"roughness\" 0.1", 0.2f},
        {"wax", "orcaVelaLambert", "\"color\" 0.4 0.4 0.4 1, \"diffuse\" 1, \"scatterColor\" 1 1 1 1",
         0.999f},
        {"glass", "orcaVelaBlinn",
         "\"color\" 0 0 0 1, \"transparency\" 1 1 1 1, \"refractionsOn\" on, \"refractiveIndex\" 1.5, "
         "\"specularColor\" 0 0 0 1, \"reflectivity\" 0",
         0.9f},
    };
    for (const auto& c : cases) {
        TestScene scene;
        scene.traceDepth = "4 4 6";
        scene.extraOptions = gathering(64, 2, AHEAD);
        scene.contents = glowing("sky", "1 1 1") + surface("stuff", c.shader, c.parameters) +
                         box("dome", "sky", 30, 30, 30) + box("thing", "stuff", 1.5f, 1, 0.5f);
        const RenderedScene picture(scene);
        picture.eachPixel([&](int x, int y) {
            const miColor seen = picture.pixel("main", x, y);
            EXPECT_LE(std::max({seen.r, seen.g, seen.b}), 1.0001f) << c.name;
            EXPECT_GE(seen.g, c.least) << c.name;
        });
    }
}

/// Occlusion of the middle of a card by a square of half size 1 that stands 2 above it.
float occlusion(const std::string& request) {
    TestScene scene;
    scene.width = scene.height = 9;
    scene.contents = "material \"probe\" \"testOcclusion\" ( " + request + " ) end material\n" +
                     lambert("black", "\"color\" 0 0 0 1") + card("floor", "probe", 0, 0, 0, 3) +
                     card("square", "black", 0, 0, 2, 1, "visible off");
    return RenderedScene(scene).middle().r;
}

TEST(AmbientOcclusion, AnswersTheWholeRequest) {
    constexpr float formFactor = 0.2394f; // of that square, seen from the point
    const struct {
        const char* request;
        float expected, tolerance;
    } cases[] = {{"\"rays\" 4096", formFactor, 0.003f},
                 {"", formFactor, 0.04f}, // the default number of rays
                 {"\"rays\" 4096, \"axis\" 0 0 7", formFactor, 0.003f},
                 {"\"rays\" 4096, \"scale\" 2", 2 * formFactor, 0.006f},
                 {"\"rays\" 1024, \"scale\" 50", 1, 0},
                 {"\"rays\" 1024, \"far\" 1.9", 0, 0},
                 {"\"rays\" 1024, \"near\" 3", 0, 0},
                 // A cone of 20 degrees sees nothing but the square.
                 {"\"rays\" 1024, \"spread\" 0.94", 1, 0},
                 // A leaning axis sees less of it, and half of its hemisphere lies below the surface.
                 {"\"rays\" 4096, \"axis\" 1 0 0", 0.5f + 0.0279f, 0.005f},
                 // Straight up the square is at half of the range; at its corners, at 2.45 of 4.
                 {"\"rays\" 4096, \"far\" 4, \"mode\" 1", 0.444f * formFactor, 0.056f * formFactor}};
    for (const auto& c : cases) EXPECT_NEAR(occlusion(c.request), c.expected, c.tolerance) << c.request;
}

TEST(GatherBehind, SeesWhatLiesOnTheOtherSide) {
    TestScene scene;
    scene.extraOptions = gathering(64, 0, AHEAD);
    scene.contents = "material \"probe\" \"testGatherBehind\" ( ) end material\n" + glowing("red", "3 3 3") +
                     card("floor", "probe", 0, 0, 0, 3) + card("below", "red", 0, 0, -0.5f, 400);
    EXPECT_NEAR(RenderedScene(scene).middle().r, 3.0f, 0.01f);
}

} // namespace
} // namespace orca::test
