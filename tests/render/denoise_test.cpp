// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include "render/denoise/joint_filter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace orca::test {
namespace {

double squaredError(const RenderedScene& a, const RenderedScene& b, const std::string& layer) {
    double sum = 0.0;
    a.eachPixel([&](int x, int y) {
        const miColor p = a.pixel(layer, x, y), q = b.pixel(layer, x, y);
        sum += (p.r - q.r) * (p.r - q.r) + (p.g - q.g) * (p.g - q.g) + (p.b - q.b) * (p.b - q.b);
    });
    return sum;
}

/// Two colours side by side, in noise of a known size.
TEST(JointFilter, TakesNoiseAwayAndNothingElse) {
    constexpr int width = 90, height = 70;
    constexpr float noise = 0.05f;
    std::mt19937 random(1);
    std::normal_distribution<float> normal(0.0f, noise);
    constexpr std::size_t words = 8; // a noisy colour, half of it, two guides: the colour and a depth
    std::vector<float> pixels;
    const auto side = [](int x) { return x < width / 2 ? 0.3f : 0.5f; };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < 3; ++c) pixels.push_back(side(x) + normal(random));
            pixels.push_back(0.5f * pixels[pixels.size() - 3]);
            pixels.insert(pixels.end(), 3, side(x));
            pixels.push_back(10.0f + static_cast<float>(x) + (x < width / 2 ? 0.0f : 40.0f));
        }
    render::FilterInput input{width,
                              height,
                              pixels,
                              words,
                              0,
                              std::vector<float>(3 * width * height, 4 * noise * noise),
                              std::vector<float>(width * height, 4.0f),
                              {},
                              {{0, 4}}};
    std::vector<float> filtered(pixels.size());
    for (const render::FilterGuide guide : {render::FilterGuide{render::GuideKind::Color, 4},
                                            render::FilterGuide{render::GuideKind::Depth, 7}}) {
        input.guides = {guide};
        ASSERT_TRUE(filterJointly(input, filtered, 2, nullptr));
        double error = 0.0, besideEdge = 0.0;
        for (std::size_t i = 0; i < width * height; ++i) {
            const int x = static_cast<int>(i) % width;
            const float* const pixel = &filtered[i * words];
            error += std::pow(pixel[0] - side(x), 2.0);
            if (x == width / 2 - 1) besideEdge += pixel[0] - side(x);
            ASSERT_NEAR(pixel[3], 0.5f * pixel[0], 1e-6f);
            for (std::size_t w = 4; w < words; ++w) ASSERT_EQ(pixel[w], pixels[i * words + w]);
        }
        EXPECT_LT(std::sqrt(error / (width * height)), 0.15 * noise);
        EXPECT_NEAR(besideEdge / height, 0.0, 0.25 * noise);
    }

    input.variance.assign(input.variance.size(), 0.0f); // nothing is known to be noise
    ASSERT_TRUE(filterJointly(input, filtered, 2, nullptr));
    for (std::size_t i = 0; i < pixels.size(); ++i) ASSERT_NEAR(filtered[i], pixels[i], 1e-5f);

    const std::atomic<bool> stop{true};
    EXPECT_FALSE(filterJointly(input, filtered, 2, &stop));
}

/// A textured floor and a card in the penumbra of another.
TestScene penumbra(const char* samples) {
    TestScene scene;
    scene.width = scene.height = 48;
    scene.samples = samples;
    scene.addLayers();
    scene.passes.insert(scene.passes.end(), {"diffuseMaterialColor", "normal"});
    scene.contents =
        lambert("grey", "\"color\" 0.6 0.5 0.4 1, \"diffuse\" 1") +
        lambert("blue", "\"color\" 0.1 0.2 0.7 1, \"diffuse\" 1, \"incandescence\" 0.1 0 0 1") +
        card("floor", "grey", 0, 0, 0, 3) + card("left", "blue", -0.9f, 0.3f, 0.4f, 0.6f) +
        card("right", "blue", 0.8f, -0.4f, 1.2f, 0.5f) +
        pointLight("lamp", "\"lightRadius\" 0.8, \"shadowRays\" 1, \"useRayTraceShadows\" on", 1, 1, 5);
    return scene;
}

TEST(Denoise, LowersTheErrorOfLayersThatStillAddUp) {
    RenderedScene::Settings settings;
    const RenderedScene noisy(penumbra("1 1")), reference(penumbra("4 4"));
    settings.denoise = render::DenoiseSettings{
        {{"diffuseMaterialColor", render::GuideKind::Color}, {"normal", render::GuideKind::Normal}}, true};
    const RenderedScene clean(penumbra("1 1"), settings);
    for (const char* const layer : {"main", "diffuse"})
        EXPECT_LT(squaredError(clean, reference, layer), 0.4 * squaredError(noisy, reference, layer))
            << layer;
    clean.eachPixel([&](int x, int y) {
        const miColor whole = clean.pixel("main", x, y), diffuse = clean.pixel("diffuse", x, y),
                      ambient = clean.pixel("ambient", x, y), light = clean.pixel("incandescence", x, y);
        EXPECT_NEAR(whole.r, diffuse.r + ambient.r + light.r, 1e-5f);
        EXPECT_NEAR(whole.b, diffuse.b + ambient.b + light.b, 1e-5f);
        const miColor guide = clean.pixel("normal", x, y), before = noisy.pixel("normal", x, y);
        EXPECT_TRUE(guide.r == before.r && guide.g == before.g && guide.b == before.b);
    });
    // The layers as they were are kept.
    for (const image::Layer& layer : clean.result().film().layers(clean.result().noisy))
        if (layer.buffer->name == "diffuse") {
            EXPECT_EQ(layer.words(), noisy.words("diffuse"));
        }
}

} // namespace
} // namespace orca::test
