// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include "image/cryptomatte.h"

#include <algorithm>
#include <cmath>
#include <map>

/// What eye samples see: mattes by name, and samples by depth.
namespace orca::test {
namespace {

constexpr const char* buffers = "framebuffer \"obj\" datatype \"crypto_object\"\n"
                                "framebuffer \"mtl\" datatype \"crypto_material_4\"\n"
                                "framebuffer \"set\" datatype \"crypto_asset\"\n"
                                "framebuffer \"few\" datatype \"crypto_object_2\"\n";

/// Weights by id of a pixel's table.
std::map<float, float> idsAt(const RenderedScene& picture, const std::string& name, int x, int y) {
    std::map<float, float> ids;
    for (int level = 0; level < (name == "mtl" ? 2 : 3); ++level) {
        const miColor c = picture.pixel(name + "0" + std::to_string(level), x, y);
        if (c.r != 0.0f) ids[c.r] += c.g;
        if (c.b != 0.0f) ids[c.b] += c.a;
    }
    return ids;
}

float weightOf(const std::map<float, float>& ids, const std::string& name) {
    const auto found = ids.find(image::cryptomatteId(name));
    return found == ids.end() ? 0.0f : found->second;
}

std::string foil(const std::string& name, float alpha) {
    return fmt::format("material \"{}\" \"testFoil\" ( \"color\" 0.2 0.4 0.8 {} ) end material\n", name,
                       alpha);
}
std::string glass(const std::string& name, const std::string& transparency) {
    return lambert(name, "\"incandescence\" 0.1 0.3 0.2 1, \"transparency\" " + transparency);
}

TEST(Mattes, HashNamesAsOthersDo) {
    // Numbers that the authors of the format publish.
    EXPECT_FLOAT_EQ(image::cryptomatteId("hello"), 6.0705627102400005616e-17f);
    EXPECT_FLOAT_EQ(image::cryptomatteId("cube"), -4.08461912519e+15f);
    EXPECT_FLOAT_EQ(image::cryptomatteId("sphere"), 2.79018604383e+15f);
    EXPECT_FLOAT_EQ(image::cryptomatteId("plane"), 3.66557617593e-11f);
    for (int i = 0; i < 1000; ++i) EXPECT_TRUE(std::isnormal(image::cryptomatteId(std::to_string(i)))) << i;
    image::CryptomatteManifest names;
    names.add("a \"b\"\\\n");
    EXPECT_NE(names.json().find(R"({"a \"b\"\\\n":")"), std::string::npos) << names.json();
    EXPECT_FALSE(image::cryptomatteType("crypto_object_3") || image::cryptomatteType("crypto_object_18"));
}

/// Cards one behind the other: what their shaders let through decides what each has of the pixel.
struct Stack {
    const char* what;
    std::string front, middle, back; ///< materials
    float ofFront, ofMiddle, ofBack;
    const char* options = "";
};
class StackOfCards : public ::testing::TestWithParam<Stack> {};

TEST_P(StackOfCards, SharesItsWeight) {
    const Stack& stack = GetParam();
    TestScene scene;
    scene.extraOptions = stack.options;
    scene.cameraStatements = buffers;
    scene.contents = stack.front + stack.middle + stack.back + card("one", "front", 0, 0, 1, 8) +
                     card("two", "middle", 0, 0, 0, 8) + card("three", "back", 0, 0, -1, 8) +
                     "instgroup \"pair\" \"two\" \"three\" end instgroup\n"
                     "instance \"both\" \"pair\" end instance\n";
    scene.members = {"one", "both"};
    RenderedScene::Settings settings;
    settings.deep = true;
    const RenderedScene picture(scene, settings);
    const auto objects = idsAt(picture, "obj", 8, 8);
    EXPECT_NEAR(weightOf(objects, "one"), stack.ofFront, 1e-6f);
    EXPECT_NEAR(weightOf(objects, "two"), stack.ofMiddle, 1e-6f);
    EXPECT_NEAR(weightOf(objects, "three"), stack.ofBack, 1e-6f);
    const auto materials = idsAt(picture, "mtl", 8, 8), assets = idsAt(picture, "set", 8, 8);
    EXPECT_NEAR(weightOf(materials, "middle"), stack.ofMiddle, 1e-6f);
    EXPECT_NEAR(weightOf(assets, "both"), stack.ofMiddle + stack.ofBack, 1e-6f);
    EXPECT_EQ(weightOf(assets, "two"), 0.0f);
    // The heaviest comes first, and what there is no room for is the lightest.
    const miColor first = picture.pixel("obj00", 8, 8), kept = picture.pixel("few00", 8, 8);
    EXPECT_GE(first.g, first.a);
    EXPECT_NEAR(kept.g + kept.a,
                stack.ofFront + stack.ofMiddle + stack.ofBack -
                    std::min({stack.ofFront, stack.ofMiddle, stack.ofBack}),
                1e-6f);
}

const std::string solidBack = lambert("back", "\"incandescence\" 1 0.5 0.25 1");
INSTANTIATE_TEST_SUITE_P(
    Of, StackOfCards,
    ::testing::Values(Stack{"glass", glass("front", "0.75 0.75 0.75 1"), glass("middle", "0.5 0.5 0.5 1"),
                            solidBack, 0.25f, 0.375f, 0.375f},
                      Stack{"glass, shaded in layers", glass("front", "0.75 0.75 0.75 1"),
                            glass("middle", "0.5 0.5 0.5 1"), solidBack, 0.25f, 0.375f, 0.375f,
                            "scanline rasterizer"},
                      Stack{"coloured glass", glass("front", "1 0 0 1"), glass("middle", "1 1 1 1"),
                            solidBack, 0.7f, 0.0f, 0.3f},
                      Stack{"cutouts", foil("front", 0), foil("middle", 0), solidBack, 0, 0, 1},
                      Stack{"foil before something that leaves room", foil("front", 0.25f),
                            foil("middle", 0.5f), foil("back", 0.2f), 0.25f, 0.375f, 0.075f},
                      Stack{"foil before something opaque, which says nothing", foil("front", 0),
                            foil("middle", 0.5f), solidBack, 0, 1, 0}));

/// Cards, glass and a ball, out of line with pixels, and moving.
TestScene crowd(const std::string& samples, const std::string& options) {
    TestScene scene;
    scene.width = 24;
    scene.height = 18;
    scene.samples = samples;
    scene.extraOptions = "contrast 0.05 0.05 0.05 0.05 motion on shutter 0 1 " + options;
    scene.cameraStatements = buffers;
    scene.contents = glass("glass", "0.6 0.6 0.6 1") + lambert("red", "\"incandescence\" 0.9 0.1 0.1 1") +
                     lambert("green", "\"incandescence\" 0.1 0.6 0.1 1") +
                     card("pane", "glass", 0.3f, 0.2f, 2, 0.8f) +
                     card("left", "red", -0.9f, -0.4f, 0, 0.7f,
                          "motion transform 1 0 0 0  0 1 0 0  0 0 1 0  0.4 0.4 0 1") +
                     card("right", "green", 0.7f, 0.1f, 1, 0.6f) +
                     sphere("ball", "red", 12, "transform 1.4 0 0 0 0 1.4 0 0 0 0 1.4 0 0.7 -0.9 0 1");
    return scene;
}

class EveryKindOfSampling : public ::testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(EveryKindOfSampling, KeepsTheWeightsOfThePicture) {
    const auto [samples, options] = GetParam();
    const TestScene scene = crowd(samples, options);
    const RenderedScene picture(scene);
    RenderedScene::Settings others;
    others.threads = 2;
    others.tileSize = 5;
    const RenderedScene again(scene, others);
    int shared = 0;
    for (const std::string name : {"obj", "mtl", "set"})
        picture.eachPixel([&](int x, int y) {
            const auto ids = idsAt(picture, name, x, y);
            float sum = 0.0f;
            for (const auto& [id, weight] : ids) sum += weight;
            EXPECT_NEAR(sum, picture.pixel("main", x, y).a, 2e-6f) << name;
            shared += ids.size() > 2;
            EXPECT_EQ(ids, idsAt(again, name, x, y));
        });
    EXPECT_GT(shared, 10);
}

INSTANTIATE_TEST_SUITE_P(Of, EveryKindOfSampling,
                         ::testing::Values(std::pair{"2 2", "filter gauss 3 3"},
                                           std::pair{"0 2", "filter lanczos 4 4"},
                                           std::pair{"-2 1", "jitter 1"},
                                           std::pair{"1 1", "scanline rasterizer"}));

/// What compositing programs do: each sample over what is behind it.
miColor flattened(std::span<const image::DeepSample> samples) {
    double color[4] = {}, through = 1.0;
    for (const image::DeepSample& sample : samples) {
        for (int c = 0; c < 3; ++c) color[c] += through * static_cast<double>(sample.color[c]);
        color[3] += through * static_cast<double>(sample.alpha);
        through *= 1.0 - static_cast<double>(sample.alpha);
    }
    return {static_cast<float>(color[0]), static_cast<float>(color[1]), static_cast<float>(color[2]),
            static_cast<float>(color[3])};
}

TEST(DeepSamples, FlattenToThePicture) {
    struct Row {
        const char *samples, *options, *camera;
    };
    for (const auto& [samples, options, camera] :
         {Row{"2 2", "filter gauss 3 3", ""}, Row{"0 2", "jitter 0", ""},
          Row{"1 1", "scanline rasterizer", ""},
          Row{"1 1", "",
              "environment \"testSky\" ( \"color\" 2 3 4 1 ) volume \"testHaze\" ( \"color\" 0.1 0.2 0 1 "
              ")"}}) {
        SCOPED_TRACE(std::string(samples) + " " + options + camera);
        TestScene scene = crowd(samples, options);
        scene.cameraStatements = camera;
        RenderedScene::Settings settings;
        settings.deep = true;
        const RenderedScene picture(scene, settings);
        const image::DeepPicture deep = picture.result().deep->picture(picture.result().film().window());
        int several = 0;
        picture.eachPixel([&](int x, int y) {
            const auto of = deep.of(static_cast<std::size_t>(y * picture.width() + x));
            const miColor flat = flattened(of), seen = picture.pixel("main", x, y);
            EXPECT_LT(difference(flat, seen), 2e-6f);
            EXPECT_NEAR(flat.a, seen.a, 2e-6f);
            several += of.size() > 2;
            for (std::size_t i = 1; i < of.size(); ++i) EXPECT_LE(of[i - 1].back, of[i].front);
        });
        EXPECT_GT(several, 20);
        if (*camera) continue;
        // In the middle of the pane: the pane, 8 before the camera, and the card 1 behind it.
        const auto middle = deep.of(static_cast<std::size_t>(10 * picture.width() + 15));
        ASSERT_EQ(middle.size(), 2u);
        EXPECT_NEAR(middle[0].front, 8.0f, 1e-5f);
        EXPECT_NEAR(middle[0].alpha, 0.4f, 1e-5f);
        EXPECT_NEAR(middle[1].back, 9.0f, 1e-5f);
        EXPECT_NEAR(middle[1].color[1], 0.6f, 1e-5f);
    }
}

} // namespace
} // namespace orca::test
