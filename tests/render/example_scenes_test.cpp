// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace orca::test {
namespace {

bool renders(const std::filesystem::path& path) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        if (line.rfind("render ", 0) == 0) return true;
    return false;
}

std::vector<std::string> exampleScenes() {
    std::vector<std::string> scenes;
    for (const auto& entry : std::filesystem::directory_iterator(ORCA_SCENES_DIR)) {
        // Files without a render statement are parts of others.
        if (entry.path().extension() == ".mi" && renders(entry.path()))
            scenes.push_back(entry.path().string());
    }
    std::sort(scenes.begin(), scenes.end());
    return scenes;
}

class ExampleScene : public ::testing::TestWithParam<std::string> {};

TEST_P(ExampleScene, RendersWithoutComplaintsAndItsBeautyIsThePicture) {
    RenderedScene::Settings settings;
    settings.isFile = true;
    settings.threads = 2;
    settings.resolution = std::pair(96, 54);
    RenderedScene picture(GetParam(), settings);
    EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    EXPECT_EQ(picture.database().pinsHeld(), 0);

    const auto layers = picture.result().layers();
    const auto primary =
        std::find_if(layers.begin(), layers.end(), [](const auto& l) { return l.buffer->primary; });
    const auto beauty = std::find_if(layers.begin(), layers.end(), [](const auto& l) {
        return l.buffer->name == "beauty" && !l.buffer->primary;
    });
    ASSERT_NE(primary, layers.end());
    // The scenes' filters have no negative lobes, so neither has the picture.
    const std::vector<float> seen = primary->words();
    EXPECT_GE(*std::min_element(seen.begin(), seen.end()), 0.0f);
    if (beauty == layers.end()) return;
    const std::vector<float> written = beauty->words();
    double brightest = 0.0;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        if (i % 4 == 3) continue; // alpha of the picture is coverage, that of a pass says "something is here"
        const float expected = seen[i];
        brightest = std::max(brightest, static_cast<double>(expected));
        ASSERT_NEAR(written[i], expected, 1e-4f * std::abs(expected) + 2e-6f) << "word " << i;
    }
    EXPECT_GT(brightest, 0.05);

    // A scene that has every component shows that they are all there is.
    std::vector<std::vector<float>> components;
    for (const char* name :
         {"ambient", "diffuse", "specular", "incandescence", "reflection", "refraction", "indirect"}) {
        const auto layer =
            std::find_if(layers.begin(), layers.end(), [&](const auto& l) { return l.buffer->name == name; });
        if (layer == layers.end()) return;
        components.push_back(layer->words());
    }
    // Where no surface is, and through transparent ones; a scene without open sky need not have them.
    for (const auto& layer : layers)
        if (layer.buffer->name == "environment" || layer.buffer->name == "lamps")
            components.push_back(layer.words());
    for (std::size_t i = 0; i < seen.size(); ++i) {
        if (i % 4 == 3) continue;
        float sum = 0.0f;
        for (const std::vector<float>& component : components) sum += component[i];
        ASSERT_NEAR(sum, seen[i], 1e-4f * std::abs(seen[i]) + 2e-6f) << "word " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Scenes, ExampleScene, ::testing::ValuesIn(exampleScenes()), [](const auto& scene) {
    return std::filesystem::path(scene.param).stem().string();
});

} // namespace
} // namespace orca::test
