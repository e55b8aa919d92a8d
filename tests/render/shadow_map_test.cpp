// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

struct Lamp {
    const char *name, *shader, *place; // place: the light's own statements
};

/// A block and a card above a floor, below one light.
TestScene scene(const Lamp& lamp, const std::string& mapStatements,
                const std::string& options = "shadowmap on") {
    TestScene result;
    result.width = result.height = 32;
    result.passes = {"beauty", "diffuse", "shadow"};
    result.extraOptions = options;
    result.contents = white() + card("floor", "white", 0, 0, -1, 8) +
                      box("block", "white", 0.6f, 0.4f, 0.3f) + card("roof", "white", -1, 1, 1, 0.4f) +
                      fmt::format("light \"lamp\" \"{}\" ( \"useDepthMapShadows\" on ) {} {} end light\n"
                                  "instance \"lamp_inst\" \"lamp\" end instance\n",
                                  lamp.shader, lamp.place, mapStatements);
    return result;
}

class ShadowMapOf : public ::testing::TestWithParam<Lamp> {};
INSTANTIATE_TEST_SUITE_P(
    Lights, ShadowMapOf,
    ::testing::Values(Lamp{"Directional", "orcaVelaDirectionalLight", "direction 0.6 -0.4 -1"},
                      Lamp{"Point", "orcaVelaPointLight", "origin -1 1.5 3"},
                      Lamp{"Spot", "orcaVelaPointLight", "origin -1 1.5 4 direction 0.2 -0.3 -1 spread 0.3"},
                      Lamp{"WideSpot", "orcaVelaPointLight", "origin 0 0 0.5 direction 0 0 -1 spread 0.5"}),
    [](const auto& lamp) { return lamp.param.name; });

TEST_P(ShadowMapOf, CastsTheShadowsThatRaysFindAwayFromTheirEdges) {
    const RenderedScene mapped(scene(GetParam(), "shadowmap on shadowmap resolution 1024"));
    const RenderedScene traced(scene(GetParam(), ""));
    EXPECT_EQ(mapped.result().statistics.rays.shadow, 0u);
    EXPECT_GT(traced.result().statistics.rays.shadow, 0u);
    expectLayersAddUp(mapped, {"beauty"});
    int shaded = 0, compared = 0, differing = 0;
    for (int y = 1; y < 31; ++y)
        for (int x = 1; x < 31; ++x) {
            const float expected = traced.pixel("main", x, y).r;
            bool edge = false;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    edge = edge || (traced.pixel("main", x + dx, y + dy).r == 0.0f) != (expected == 0.0f);
            if (edge) continue;
            ++compared;
            shaded += expected == 0.0f;
            differing += std::abs(mapped.pixel("main", x, y).r - expected) > 1e-5f;
        }
    EXPECT_LE(differing, 4); // an edge within a texel of a pixel's centre, on the side of no neighbour
    EXPECT_GT(compared, 400);
    EXPECT_GT(shaded, 30);
}

TEST_P(ShadowMapOf, IsAskedForByLightAndOptionsAndTheSameForAnyThreads) {
    const std::string map =
        "shadowmap on shadowmap resolution 64 shadowmap softness 0.2 shadowmap samples 20";
    RenderedScene::Settings many;
    many.threads = 3;
    const RenderedScene one(scene(GetParam(), map));
    const RenderedScene three(scene(GetParam(), map), many);
    EXPECT_EQ(one.words("main"), three.words("main"));
    const RenderedScene off(scene(GetParam(), map, "shadowmap off"));
    EXPECT_GT(off.result().statistics.rays.shadow, 0u);
}

std::string mappedSun(const std::string& map) {
    return directionalLight("sun", "\"useDepthMapShadows\" on", "0 0 -1 shadowmap on " + map);
}

/// A row of 33 pixels across the edge of a half plane's shadow, which is in the middle one.
RenderedScene edgeOfHalfPlane(const std::string& map) {
    TestScene s;
    s.width = 33;
    s.height = 1;
    s.viewWidth = 3.3f;
    s.extraOptions = "shadowmap on";
    s.contents = white() + card("floor", "white", 0, 0, 0, 8) +
                 card("roof", "white", -20, 0, 2, 20, "visible off") + mappedSun(map);
    return RenderedScene(s);
}

/// The edge runs through a disc of the softness.
TEST(ShadowMapSoftness, SpreadsTheEdgeOverItsDisc) {
    const RenderedScene picture =
        edgeOfHalfPlane("shadowmap resolution 2048 shadowmap softness 1 shadowmap samples 400");
    for (int x = 0; x < 33; ++x) {
        const double d = std::clamp((x - 16) * 0.1, -1.0, 1.0);
        const double share = 0.5 + (d * std::sqrt(1 - d * d) + std::asin(d)) / 3.14159265358979;
        // A texel is a twentieth of the disc's radius wide.
        EXPECT_NEAR(picture.pixel("main", x, 0).r, share, 0.04) << d;
    }
}

/// Between the texels of a coarse map a shadow's edge is a ramp.
TEST(ShadowMapFilter, RisesEvenlyAcrossAnEdge) {
    const RenderedScene picture = edgeOfHalfPlane("shadowmap resolution 64");
    int between = 0;
    for (int x = 1; x < 33; ++x) {
        const float before = picture.pixel("main", x - 1, 0).r, here = picture.pixel("main", x, 0).r;
        EXPECT_GE(here, before - 1e-5f) << x;
        between += here > 0.01f && here < 0.99f;
    }
    EXPECT_GT(between, 6); // a texel is ten pixels wide
}

TEST(ShadowMapBias, LetsSurfacesNearerThanItShadeNothing) {
    for (const auto& [bias, lit] :
         {std::pair("", 0.0f), {"shadowmap bias 0.4", 0.0f}, {"shadowmap bias 0.6", 1.0f}}) {
        TestScene s;
        s.extraOptions = "shadowmap on";
        s.contents = white() + card("floor", "white", 0, 0, 0, 8) +
                     card("roof", "white", 0, 0, 0.5f, 20, "visible off") + mappedSun(bias);
        EXPECT_EQ(RenderedScene(s).middle().r, lit) << bias;
    }
}

} // namespace
} // namespace orca::test
