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

/// Value of a layer of the k-th picture where a scene's property is looked at; x and y are shares of the
/// picture's width and height from the lower left.
class Pictures {
public:
    explicit Pictures(const RenderedScene& scene) : scene_(scene) {}

    [[nodiscard]] miColor at(std::size_t picture, const std::string& layer, float x, float y) const {
        return pixel(picture, layer, static_cast<int>(x * static_cast<float>(scene_.width())),
                     static_cast<int>(y * static_cast<float>(scene_.height())));
    }
    [[nodiscard]] miColor pixel(std::size_t picture, const std::string& layer, int x, int y) const {
        return scene_.pixel(picture, layer, x, y);
    }
    /// Largest difference of a layer between two pictures.
    [[nodiscard]] float difference(const std::string& layer, std::size_t a, std::size_t b) const {
        float largest = 0.0f;
        for (int y = 0; y < height(); ++y)
            for (int x = 0; x < width(); ++x) {
                const miColor p = pixel(a, layer, x, y), q = pixel(b, layer, x, y);
                largest = std::max({largest, std::abs(p.r - q.r), std::abs(p.g - q.g), std::abs(p.b - q.b),
                                    std::abs(p.a - q.a)});
            }
        return largest;
    }
    [[nodiscard]] int width() const { return scene_.width(); }
    [[nodiscard]] int height() const { return scene_.height(); }

private:
    const RenderedScene& scene_;
};

void shadowModes(const Pictures& p) {
    enum Frame { Any, Sort, Segments };
    EXPECT_LT(p.difference("main", Any, Sort), 1e-5f) << "the order of occluders";
    const float pane[] = {0.24f, 0.167f}, thin[] = {0.41f, 0.225f};
    EXPECT_NEAR(p.at(Any, "main", pane[0], pane[1]).g, p.at(Segments, "main", pane[0], pane[1]).g, 1e-4f);
    EXPECT_GT(p.at(Segments, "main", thin[0], thin[1]).g, 1.1f * p.at(Any, "main", thin[0], thin[1]).g)
        << "thin glass in segments";
    EXPECT_LT(p.at(Any, "main", 0.71f, 0.3f).b, 0.95f * p.at(Any, "main", 0.62f, 0.1f).b) << "the depth map";
}

void passLevels(const Pictures& p) {
    const auto holds = [&p](const char* layer, float x, float y) { return p.at(0, layer, x, y).r > 0.02f; };
    struct Place {
        const char* name;
        float x, y;
        bool direct, mirrored, throughGlass, pearMirrored, pearRefracted, pattern;
    };
    const Place places[] = {
        {"apple", 0.41f, 0.27f, true, false, false, true, true, false},
        {"pear", 0.29f, 0.37f, true, false, false, false, false, false},
        {"mirrored pear", 0.185f, 0.58f, false, true, false, true, false, false},
        {"refracted pear", 0.845f, 0.42f, false, false, true, false, true, false},
        {"table", 0.6f, 0.12f, true, false, false, true, true, true},
    };
    for (const Place& at : places) {
        SCOPED_TRACE(at.name);
        EXPECT_EQ(holds("direct", at.x, at.y), at.direct);
        EXPECT_EQ(holds("mirrored", at.x, at.y), at.mirrored);
        EXPECT_EQ(holds("throughGlass", at.x, at.y), at.throughGlass);
        EXPECT_EQ(holds("pearMirrored", at.x, at.y), at.pearMirrored);
        EXPECT_EQ(holds("pearRefracted", at.x, at.y), at.pearRefracted);
        EXPECT_EQ(holds("pattern", at.x, at.y), at.pattern);
    }
    const float bowl[] = {0.1f, 0.28f};
    EXPECT_NEAR(4.0f * p.at(0, "direct", bowl[0], bowl[1]).b, p.at(0, "main", bowl[0], bowl[1]).b, 1e-3f);
}

void renderModes(const Pictures& p) {
    enum Frame { Unshadowed, Shadow, Ambient, NoHighlights, Highlights, Gathered };
    const float floor[] = {0.5f, 0.05f}, shadow[] = {0.5f, 0.24f};
    const auto green = [&](std::size_t frame, const float* at) {
        return p.at(frame, "main", at[0], at[1]).g;
    };
    EXPECT_GT(green(Unshadowed, floor), 0.2f);
    EXPECT_NEAR(green(Ambient, floor), 0.18f * 0.52f, 1e-4f);
    EXPECT_NEAR(green(NoHighlights, floor), green(Unshadowed, floor), 1e-4f);
    EXPECT_EQ(green(Highlights, floor), 0.0f);
    EXPECT_EQ(green(Gathered, floor), 0.0f);
    EXPECT_EQ(green(Shadow, floor), 0.0f);
    EXPECT_GT(p.at(Shadow, "matte", shadow[0], shadow[1]).g, 0.3f);
    EXPECT_LT(p.at(Shadow, "matte", floor[0], floor[1]).g, 0.1f);
    EXPECT_GT(p.difference("main", Highlights, Shadow), 0.2f);
    EXPECT_GT(p.difference("main", Gathered, Shadow), 0.2f);
}

void rasterizer(const Pictures& p) {
    for (const char* layer : {"main", "beauty", "diffuse", "matte"})
        EXPECT_LT(p.difference(layer, 0, 1), 2e-3f) << layer;
    for (std::size_t frame : {0, 1}) {
        EXPECT_LT(p.at(frame, "main", 0.19f, 0.39f).a, 1e-3f) << "hole";
        EXPECT_LT(p.at(frame, "main", 0.19f, 0.39f).g, 1e-3f) << "hole";
        EXPECT_NEAR(p.at(frame, "main", 0.52f, 0.22f).a, 0.5f, 1e-3f) << "solid";
        // Both faces of the ball, and the wall through them.
        EXPECT_NEAR(p.at(frame, "matte", 0.945f, 0.6f).r, 0.25f + 0.5f * 0.25f + 0.25f, 1e-3f) << "half";
    }
}

void keptBuffers(const Pictures& p) {
    const float vase[] = {0.2f, 0.6f}, apple[] = {0.3f, 0.25f}, table[] = {0.7f, 0.05f}, sky[] = {0.5f, 0.9f};
    EXPECT_NEAR(p.at(0, "woodPlace", vase[0], vase[1]).r, 1.5f, 1.0f);
    EXPECT_EQ(p.at(0, "woodPlace", apple[0], apple[1]).r, 0.0f);
    EXPECT_GT(p.at(0, "grainDepth", vase[0], vase[1]).r, 0.5f);
    EXPECT_EQ(p.at(0, "paintable", vase[0], vase[1]).r, 1.0f);
    EXPECT_EQ(p.at(0, "paintable", apple[0], apple[1]).r, 0.0f);
    EXPECT_EQ(p.at(0, "paintable", apple[0], apple[1]).g, 1.0f);
    EXPECT_EQ(p.at(0, "cameraDepth", sky[0], sky[1]).r, 40.0f);
    EXPECT_LT(p.at(0, "cameraDepth", table[0], table[1]).r, 12.0f);
}

void imagePlanes(const Pictures& p) {
    const auto isGrey = [&p](float x, float y) {
        const miColor c = p.at(0, "main", x, y);
        return std::abs(c.r - c.g) < 0.1f * c.r && std::abs(c.b - c.g) < 0.1f * c.r;
    };
    const miColor hidden = p.at(0, "main", 0.13f, 0.5f), opaqueDisc = p.at(0, "main", 0.30f, 0.66f);
    EXPECT_GT(hidden.r, 1.5f * hidden.b);
    EXPECT_GT(opaqueDisc.r, 1.5f * opaqueDisc.b);
    EXPECT_LT(p.at(0, "main", 0.22f, 0.77f).g, 0.05f) << "colour without alpha hides the background";
    EXPECT_GT(p.at(0, "main", 0.44f, 0.77f).g, 0.1f) << "a clear corner does not";
    EXPECT_TRUE(isGrey(0.70f, 0.65f)) << "luminance";
    EXPECT_TRUE(p.at(0, "main", 0.90f, 0.65f).r < 0.95f) << "half of the alpha";
    const auto mirrored = [&p](float x) { return p.at(0, "reflection", x, 0.06f); };
    EXPECT_GT(std::abs(mirrored(0.30f).g - mirrored(0.70f).g), 0.01f);
}

void hueMap(const Pictures& p) {
    int greens[2] = {}, turquoise[2] = {}; // left and right half
    for (int y = 0; y < p.height(); ++y)
        for (int x = 0; x < p.width(); ++x) {
            const miColor shading = p.pixel(0, "diffuse", x, y), shown = p.pixel(0, "main", x, y);
            const bool seaGreen = shading.g > 0.1f && shading.r < 0.33f * shading.g &&
                                  shading.b > 0.3f * shading.g && shading.b < 0.6f * shading.g;
            if (!seaGreen) continue;
            const int side = 2 * x < p.width() ? 0 : 1;
            ++greens[side];
            turquoise[side] += shown.b > 0.7f * shown.g;
        }
    EXPECT_GT(greens[1], 10);
    EXPECT_GT(3 * turquoise[1], greens[1]);
    EXPECT_LT(10 * turquoise[0], greens[0]);
}

void lagoon(const Pictures& p) {
    const miColor shallow = p.at(0, "refraction", 0.1f, 0.4f), deep = p.at(0, "refraction", 0.65f, 0.55f);
    EXPECT_GT(shallow.r, 0.2f);
    EXPECT_GT(deep.b, 0.02f);
    EXPECT_LT(deep.r / deep.b, 0.5f * shallow.r / shallow.b) << "deep water absorbs the red";
    EXPECT_GT(p.at(0, "reflection", 0.65f, 0.95f).b, 2.0f * p.at(0, "reflection", 0.65f, 0.3f).b)
        << "Fresnel";
}

/// What a scene shows, and would not show with a fault in it. Places are those of things in the scene's
/// picture.
const std::map<std::string, void (*)(const Pictures&)> properties = {
    {"shadow_modes", shadowModes}, {"pass_levels", passLevels},
    {"render_modes", renderModes}, {"rasterizer", rasterizer},
    {"kept_buffers", keptBuffers}, {"image_planes", imagePlanes},
    {"hue_map", hueMap},           {"lagoon", lagoon},
};

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

TEST_P(ExampleScene, RendersWithoutComplaintsAndShowsWhatItPromises) {
    RenderedScene::Settings settings;
    settings.isFile = true;
    settings.threads = 2;
    settings.resolution = std::pair(96, 54);
    RenderedScene picture(GetParam(), settings);
    EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    EXPECT_EQ(picture.database().pinsHeld(), 0);
    const auto property = properties.find(std::filesystem::path(GetParam()).stem().string());
    if (property != properties.end()) property->second(Pictures(picture));

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
