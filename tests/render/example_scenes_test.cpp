// SPDX-License-Identifier: Apache-2.0
#include "build_paths.h"
#include "rendered_scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
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
    for (const auto& entry : std::filesystem::directory_iterator(build_paths::scenes)) {
        // Files without a render statement are parts of others.
        if (entry.path().extension() == ".mi" && renders(entry.path()))
            scenes.push_back(entry.path().string());
    }
    std::sort(scenes.begin(), scenes.end());
    return scenes;
}

/// The scene's base state makes passes that add up.
bool addsUp(const scene::Database& database) {
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        const auto* const shader = database.find<scene::FunctionElement>(tag);
        if (!shader || shader->declaration->name != "velaBaseState") continue;
        const auto& parameters = shader->declaration->parameters;
        const auto* const parameter = scene::findParameter(parameters, "additivePasses");
        const auto& words = shader->values[static_cast<std::size_t>(parameter - parameters.data())].words;
        return !words.empty() && words.front() != 0;
    }
    return false;
}

class ExampleScene : public ::testing::TestWithParam<std::string> {};

TEST_P(ExampleScene, RendersWithoutComplaintsAndAddsUp) {
    RenderedScene::Settings settings;
    settings.isFile = true;
    settings.threads = 2;
    settings.resolution = std::pair(96, 54);
    RenderedScene picture(GetParam(), settings);
    EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    EXPECT_EQ(picture.database().pinsHeld(), 0);
    std::map<std::string, std::vector<float>> layers;
    std::vector<float> seen;
    for (const auto& layer : picture.result().layers())
        (layer.buffer->primary ? seen : layers[layer.buffer->name]) = layer.words();
    ASSERT_FALSE(seen.empty());
    // The scenes' filters have no negative lobes, so neither has the picture.
    EXPECT_GE(*std::min_element(seen.begin(), seen.end()), 0.0f);
    const auto isThere = [&](const std::string& name) { return layers.count(name) != 0; };
    /// Of the layers that the scene has. Alpha is not summed: that of a pass may say "something is here".
    const auto expectSum = [&](const std::vector<std::string>& names, const std::vector<float>& whole) {
        for (std::size_t i = 0; i < whole.size(); ++i) {
            if (i % 4 == 3) continue;
            float sum = 0.0f;
            for (const std::string& name : names)
                if (isThere(name)) sum += layers[name][i];
            ASSERT_NEAR(sum, whole[i], 1e-4f * std::abs(whole[i]) + 2e-6f) << names[0] << ", word " << i;
        }
    };
    if (!isThere("beauty")) return;
    expectSum({"beauty"}, seen);
    float brightest = 0.0f;
    for (std::size_t i = 0; i < seen.size(); ++i)
        if (i % 4 != 3) brightest = std::max(brightest, seen[i]);
    EXPECT_GT(brightest, 0.05f);

    if (!addsUp(picture.database())) return;
    // Shadows that are added back leave the light without them, where a scene has the three.
    for (const std::vector<std::string>& passes :
         {std::vector<std::string>{"diffuse", "shadow", "diffuseNoShadow"},
          {"directIrradiance", "rawShadow", "directIrradianceNoShadow"}})
        if (std::ranges::all_of(passes, isThere)) expectSum({passes[0], passes[1]}, layers[passes[2]]);
    // A layer for each light, or for each on each thing.
    if (isThere("diffuseKeyVase") || isThere("diffuseDay"))
        for (const std::string whole : {"diffuse", "specular"}) {
            std::vector<std::string> parts;
            for (const auto& [name, words] : layers)
                if (name.starts_with(whole) && name != whole) parts.push_back(name);
            if (!parts.empty()) expectSum(parts, layers[whole]);
        }
    // A scene with the layers of what is no surface promises that the components are all there is.
    if (!isThere("environment")) return;
    std::vector<std::string> all = componentLayers;
    all.insert(all.end(), {"environment", "lamps"});
    expectSum(all, seen);
}

INSTANTIATE_TEST_SUITE_P(Scenes, ExampleScene, ::testing::ValuesIn(exampleScenes()), [](const auto& scene) {
    return std::filesystem::path(scene.param).stem().string();
});

} // namespace
} // namespace orca::test
