// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

namespace orca::test {
namespace {

std::string ramp(const std::string& name, bool isColor, const std::vector<std::pair<float, float>>& entries,
                 int interpolation) {
    std::string text;
    for (const auto& [position, value] : entries)
        text += fmt::format(
            "{}{{ \"position\" {}, \"value\" {}, \"interpolation\" {} }}", text.empty() ? "" : ", ", position,
            isColor ? fmt::format("{0} {0} {0} 1", value) : fmt::format("{}", value), interpolation);
    return fmt::format("\"{}\" [ {} ]", name, text);
}

const std::vector<std::pair<float, float>> identity = {{0.0f, 0.0f}, {1.0f, 1.0f}};

TEST(RampMaterial, MeasuresOfAKnownLight) {
    // A card turned by 60 degrees, under a light at a cosine of 0.8 with its normal, of half strength.
    struct Measures {
        float diffuse, other;
    };
    const Measures expected[] = {{0.8f * 0.5f, 0.8f}, {0.5f * 0.8f * 0.5f, 0.5f}, {0.4f, 0.4f}, {0.8f, 0.8f}};
    for (int input = 0; input < 4; ++input) {
        SCOPED_TRACE(input);
        std::string parameters = "\"diffuse\" 1, \"reflectionLimit\" 0, \"specularity\" 0";
        for (const std::string name : {"color", "transparency", "incandescence"})
            parameters +=
                fmt::format(", \"{}Input\" {}, ", name, input) + ramp(name + "Ramp", true, identity, 1);
        parameters +=
            fmt::format(", \"reflectivityInput\" {}, ", input) + ramp("reflectivityRamp", false, identity, 1);
        TestScene scene;
        scene.passes = {"diffuse", "transparency", "incandescence", "reflectedMaterialColor"};
        scene.contents = surface("ramps", "orcaVelaRampShader", parameters) +
                         turnedCard("card", "ramps", 0, 0, 0, 4, 60) +
                         directionalLight("sun", "\"intensity\" 0.5", "0 0.3928371 -0.9196065");
        const RenderedScene picture(scene);
        EXPECT_NEAR(picture.pixel("diffuse", 8, 8).g, expected[input].diffuse, 2e-3f);
        for (const std::string pass : {"transparency", "incandescence", "reflectedMaterialColor"})
            EXPECT_NEAR(picture.pixel(pass, 8, 8).g, expected[input].other, 2e-3f) << pass;
    }
}

TEST(RampMaterial, StepsMakeFlatTones) {
    TestScene scene;
    scene.passes = {"diffuse", "specular"};
    scene.contents = surface("toon", "orcaVelaRampShader",
                             "\"diffuse\" 1, \"reflectivity\" 0, \"colorInput\" 2, \"specularInput\" 3, "
                             "\"eccentricity\" 0.4, " +
                                 ramp("colorRamp", true, {{0.0f, 0.25f}, {0.5f, 0.75f}}, 0) + ", " +
                                 ramp("specularColorRamp", true, {{0.0f, 0.0f}, {0.6f, 0.5f}}, 0)) +
                     sphere("ball", "toon", 48) + directionalLight("sun", "", "-0.4 -0.5 -1");
    const RenderedScene picture(scene);
    int dark = 0, light = 0, shine = 0;
    picture.eachPixel([&](int x, int y) {
        if (picture.pixel("main", x, y).a == 0.0f) return;
        const float tone = picture.pixel("diffuse", x, y).g, highlight = picture.pixel("specular", x, y).g;
        EXPECT_TRUE(tone == 0.25f || tone == 0.75f) << tone;
        EXPECT_TRUE(highlight == 0.0f || highlight == 0.5f) << highlight;
        dark += tone == 0.25f;
        light += tone == 0.75f;
        shine += highlight == 0.5f;
    });
    EXPECT_GT(dark, 5);
    EXPECT_GT(light, 20);
    EXPECT_GT(shine, 0);
    EXPECT_LT(shine, light / 2);
}

} // namespace
} // namespace orca::test
