// SPDX-License-Identifier: Apache-2.0
/// Many lights of which a few are chosen at each point.
#include "render/light/light_tree.h"
#include "rendered_scene.h"
#include "scene_parts.h"

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

using render::LightCluster;

/// A light and its instance "NAME_inst"; `place` is its matrix but for the last number.
std::string light(const std::string& name, const std::string& shader, const std::string& place) {
    return fmt::format("light \"{0}\" {1} origin 0 0 0 end light\n"
                       "instance \"{0}_inst\" \"{0}\" transform {2} 1 end instance\n",
                       name, shader, place);
}

/// Lights of all kinds above three cards in one plane, of which one takes only some of them, and a card
/// between that casts shadows and is not seen.
TestScene litByMany(const std::string& extraOptions) {
    TestScene scene;
    scene.width = scene.height = 8;
    scene.samples = "5 5";
    scene.traceDepth = "0 0 0";
    scene.extraOptions = extraOptions;
    scene.addLayers();
    for (const std::string pass : {"shadow", "diffuseNoShadow", "directIrradiance"}) {
        scene.passes.push_back(pass);
        scene.passFlags.push_back("\"shadowed\" on");
    }
    std::string excluded = "\"even_inst\"";
    for (int i = 0; i < 24; ++i) {
        const float x = -2.0f + 0.17f * static_cast<float>(i), y = std::sin(static_cast<float>(i));
        const float intensity = 0.05f + 0.02f * static_cast<float>(i % 5);
        const std::string name = fmt::format("l{}", i);
        if (i % 4 == 3)
            scene.contents += light(name, "\"testPlainLight\" ( \"color\" 0.1 0.1 0.1 1 )",
                                    fmt::format("1 0 0 0 0 1 0 0 0 0 1 0 {} {} -1", -x, -y));
        else if (i % 4 == 2)
            scene.contents +=
                light(name, fmt::format("\"orcaVelaAreaLight\" ( \"intensity\" {} )", intensity),
                      fmt::format("4 0 0 0 0 4 0 0 0 0 4 0 {} {} -4", -4 * x, -4 * y));
        else
            scene.contents +=
                pointLight(name, fmt::format("\"intensity\" {}, \"decayRate\" 2", intensity), x, y, 0.6f);
        if (i % 3 == 0) excluded += ", \"" + name + "_inst\"";
    }
    scene.contents +=
        directionalLight("sun", "\"intensity\" 0.2", "0.3 0.2 -1") +
        light("even", "\"orcaVelaAmbientLight\" ( \"intensity\" 0.1 )", "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0") +
        surface("shiny", "orcaVelaPhong",
                "\"color\" 0.6 0.5 0.4 1, \"cosinePower\" 5, \"translucence\" 0.3") +
        card("left", "shiny", -1, 0, 0, 1) +
        card("upper", "shiny", 1, 1, 0, 1, "light exclusive [ " + excluded + " ]") +
        card("lower", "shiny", 1, -1, 0, 1) + card("blind", "shiny", 0, 0, 0.3f, 0.8f, "visible off");
    return scene;
}

/// Of the rectangles left, upper right and lower right.
std::vector<miColor> means(const RenderedScene& picture, const std::string& layer) {
    std::vector<miColor> sums(3, miColor{});
    picture.eachPixel([&](int x, int y) {
        const std::size_t part = x < 4 ? 0 : y >= 4 ? 1 : 2;
        sums[part] = sums[part] + picture.pixel(layer, x, y);
    });
    return sums;
}

TEST(ChosenLights, GiveThePictureOfAllLightsOnAverage) {
    TestScene all = litByMany("");
    all.samples = "4 4";
    const RenderedScene expected(all);
    for (const int count : {2, 9}) {
        const RenderedScene picture(litByMany(fmt::format("light samples {}", count)));
        expectLayersAddUp(picture);
        EXPECT_LE(picture.result().statistics.rays.lightCalls,
                  8u * 8u * 1024u * static_cast<unsigned>(count));
        for (const std::string layer :
             {"main", "ambient", "diffuse", "specular", "shadow", "diffuseNoShadow", "directIrradiance"}) {
            const auto seen = means(picture, layer), wanted = means(expected, layer);
            for (std::size_t i = 0; i < seen.size(); ++i)
                EXPECT_NEAR(seen[i].g, wanted[i].g, 0.03f * wanted[i].g + 1e-3f)
                    << layer << " " << i << " " << count;
        }
    }
}

TEST(ChosenLights, AreTheSameForAnyThreadsAndTiles) {
    TestScene scene = litByMany("light samples 2");
    scene.samples = "0 2";
    RenderedScene::Settings settings;
    settings.threads = settings.tileSize = 3;
    const RenderedScene one(scene), three(scene, settings);
    EXPECT_EQ(one.words("main"), three.words("main"));
}

TEST(ChosenLights, OfAsManyAsThereAreChangeNothing) {
    TestScene scene = litByMany("light samples 26"), all = litByMany("");
    scene.samples = all.samples = "1 1";
    EXPECT_EQ(RenderedScene(scene).words("main"), RenderedScene(all).words("main"));
}

/// Each of a hundred lamps lights its own part of a long floor.
TEST(ChosenLights, AreThoseThatMatter) {
    TestScene scene;
    scene.samples = "1 1";
    scene.viewWidth = 60;
    scene.height = 1;
    scene.contents = white() + card("floor", "white", 0, 0, 0, 40);
    for (int i = 0; i < 100; ++i)
        scene.contents +=
            pointLight(fmt::format("l{}", i), "\"decayRate\" 2", 0.8f * static_cast<float>(i - 50), 0, 1);
    const RenderedScene all(scene);
    scene.extraOptions = "light samples 4";
    const RenderedScene chosen(scene);
    double squares = 0;
    all.eachPixel([&](int x, int y) {
        squares += std::pow(chosen.pixel("main", x, y).g / all.pixel("main", x, y).g - 1.0f, 2);
    });
    EXPECT_LT(std::sqrt(squares / 16), 0.12); // 0.06; 0.6 if all lamps were as likely
}

/// Clusters of lights in a lattice, with strengths over two magnitudes, some of them without a place.
std::vector<LightCluster> lattice() {
    std::vector<LightCluster> lights;
    for (int i = 0; i < 60; ++i) {
        const miVector place{static_cast<float>(i % 5), static_cast<float>(i / 5 % 4),
                             static_cast<float>(i / 20)};
        const miVector down{0, 0, -1};
        LightCluster light{LightCluster::Kind::Placed,
                           place,
                           place,
                           i % 3 ? render::LightCone::everyDirection() : render::LightCone(down, 0, 1.5f),
                           {}};
        if (i % 20 == 7) light.kind = LightCluster::Kind::Everywhere;
        if (i % 20 == 8) light.kind = LightCluster::Kind::Directed;
        for (std::size_t j = 0; j < render::LightFalloff::distances; ++j)
            light.falloff[j] = std::pow(10.0f, static_cast<float>(i % 7) / 3) *
                               std::pow(4.0f, static_cast<float>(j)) * 1e-3f;
        if (light.kind != LightCluster::Kind::Placed) light.falloff[0] *= 100;
        lights.push_back(light);
    }
    return lights;
}

TEST(LightTree, ChoosesEachLightAsOftenAsItsWeightSays) {
    const std::vector<LightCluster> lights = lattice();
    const render::LightTree tree(lights, 20);
    const render::LightReceiver receiver{{1.2f, 1.7f, -0.5f}, {0, 0, 1}, {}, 0};
    constexpr int tries = 20000;
    for (const int wanted : {1, 4, 30, 60}) {
        std::vector<double> weights(lights.size()), rounding(lights.size(), 1.0 / tries);
        std::vector<render::ChosenLight> chosen(lights.size() + 1);
        for (int i = 0; i < tries; ++i) {
            const float u = (static_cast<float>(i) + 0.5f) / tries;
            ASSERT_EQ(tree.choose(receiver, wanted, u, chosen.data()), wanted);
            std::vector<int> times(lights.size());
            for (int k = 0; k < wanted; ++k) {
                EXPECT_EQ(++times[chosen[k].light], 1);
                weights[chosen[k].light] += chosen[k].weight / tries;
                rounding[chosen[k].light] = 2.0 * chosen[k].weight / tries;
            }
        }
        for (std::size_t i = 0; i < lights.size(); ++i)
            EXPECT_NEAR(weights[i], 1.0, rounding[i]) << i << " of " << wanted;
    }
}

} // namespace
} // namespace orca::test
