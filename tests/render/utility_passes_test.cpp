// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

constexpr float floatNoise = 1e-4f; // positions near 10, single precision

struct UtilityPass {
    std::string buffer, datatype, shader;
};

/// Adds utility passes to a test scene: their buffers, their names in the data block, and their shaders in
/// the list of the material "m".
std::string withPasses(const TestScene& scene, const std::vector<UtilityPass>& passes) {
    std::string text = scene.text();
    std::string names, buffers, shaders;
    for (std::size_t i = 0; i < passes.size(); ++i) {
        names += fmt::format("{}\"{}\"", i ? ", " : "", passes[i].buffer);
        buffers +=
            fmt::format("framebuffer \"{}\" datatype \"{}\" user on\n", passes[i].buffer, passes[i].datatype);
        const std::string& shader = passes[i].shader;
        const std::size_t open = shader.find('(');
        shaders += fmt::format(
            "\"{}\" ( \"passIndex\" {}, \"contributionIndex\" {} {} )\n", shader.substr(0, open), i, i,
            open == std::string::npos ? "" : ", " + shader.substr(open + 1, shader.size() - open - 2));
    }
    const auto insertAfter = [&](const std::string& anchor, const std::string& addition) {
        const std::size_t at = text.find(anchor);
        ASSERT_NE(at, std::string::npos) << anchor;
        text.insert(at + anchor.size(), addition);
    };
    insertAfter("\"magic\" 1178760550,\n", "\"nonMaterialFrameBuffers\" [ " + names + " ],\n");
    insertAfter("datatype \"rgba_fp\" primary on\n", buffers);
    insertAfter("\"orcaVelaShadingEngine\" ( \"surfaceShader\" \"m_surface\" )\n", shaders);
    return text;
}

TestScene tiltedCard(const std::string& placement) {
    TestScene scene;
    scene.passes = {"beauty"};
    scene.contents = lambert("m", "\"incandescence\" 1 1 1 1") +
                     "object \"plane\" visible shadow trace group -3 -3 0 3 -3 0 3 3 0 -3 3 0\n"
                     "v 0 v 1 v 2 v 3 p \"m\" 0 1 2 3 end group end object\n"
                     "instance \"plane_inst\" \"plane\" " +
                     placement + " end instance\n";
    scene.members = {"plane_inst"};
    return scene;
}

TEST(UtilityPasses, DepthIncidenceAndNormalsOfATiltedPlane) {
    // The plane is turned 30 degrees about y and flattened to half in x: world = object * S * R.
    const float c = std::cos(0.5235988f);
    const float s = std::sin(0.5235988f);
    // parent to local is the inverse: first the turn back, then the stretch in x
    const std::string placement =
        fmt::format("transform {} 0 {} 0  0 1 0 0  {} 0 {} 0  0 0 0 1", 2 * c, s, -2 * s, c);
    const TestScene scene = tiltedCard(placement);
    const RenderedScene picture(withPasses(scene, {{"depth", "z", "orcaPassCameraDepth"},
                                                   {"near", "z",
                                                    "orcaPassCameraDepth(\"remap\" 1, \"nearDepth\" 9, "
                                                    "\"farDepth\" 11, \"outputMin\" 1, \"outputMax\" 0)"},
                                                   {"incidence", "s_fp", "orcaPassIncidenceCameraNormal"},
                                                   {"world", "n", "orcaPassNormal"},
                                                   {"camera", "n", "orcaPassNormal(\"space\" 1)"},
                                                   {"object", "n", "orcaPassNormal(\"space\" 2)"}}));
    for (const int px : {5, 8, 10})
        for (const int py : {3, 12}) {
            const float x = (static_cast<float>(px) + 0.5f) / 4.0f - 2.0f;
            const float y = (static_cast<float>(py) + 0.5f) / 4.0f - 2.0f;
            // Points of the plane satisfy z = -x tan(30) or + by the direction of the turn; its normal
            // decides.
            const miColor world = picture.pixel("world", px, py);
            const float z = -x * world.r / world.b;
            const float distance = std::sqrt(x * x + y * y + (10 - z) * (10 - z));
            EXPECT_NEAR(picture.pixel("depth", px, py).r, distance, floatNoise);
            // outputMin is lowered to outputMax: everything is 0
            EXPECT_EQ(picture.pixel("near", px, py).r, 0.0f);
            EXPECT_NEAR(std::abs(world.r), s, floatNoise);
            EXPECT_NEAR(world.b, c, floatNoise);
            EXPECT_NEAR(picture.pixel("camera", px, py).b, c, floatNoise);
            EXPECT_NEAR(picture.pixel("incidence", px, py).r, 1.0f - c, floatNoise);
            const miColor object = picture.pixel("object", px, py);
            EXPECT_NEAR(object.r, 0.0f, floatNoise); // the plane's own normal, whatever the placement
            EXPECT_NEAR(object.g, 0.0f, floatNoise);
            EXPECT_GT(object.b, 0.0f);
        }
}

TEST(UtilityPasses, CoverageOfAnEdgeIsTheShareOfThePixel) {
    TestScene scene = tiltedCard("");
    scene.samples = "4 4";
    scene.extraOptions = "jitter 1";
    scene.contents = lambert("m", "") + card("half", "m", 0.35f, 0, 0, 1); // its left edge is at x = -0.65
    scene.members = {"half"};
    const RenderedScene picture(withPasses(scene, {{"coverage", "coverage", "orcaPassCoverage"}}));
    EXPECT_NEAR(picture.pixel("coverage", 6, 8).r, 1.0f, floatNoise);
    EXPECT_NEAR(picture.pixel("coverage", 5, 8).r, 0.6f, 0.02f); // the pixel spans -0.75 to -0.5
    EXPECT_EQ(picture.pixel("coverage", 4, 8).r, 0.0f);
}

TEST(UtilityPasses, MotionVectorsAreTheDisplacementOfTheProjectedPoint) {
    // Moves 0.5 to the right and 0.25 down, without motion blur of the picture and with it.
    for (const std::string motion : {"motion off", "motion on shutter 0 1"}) {
        TestScene scene = tiltedCard("motion transform 1 0 0 0 0 1 0 0 0 0 1 0 -0.5 0.25 0 1");
        scene.extraOptions = motion;
        const RenderedScene picture(
            withPasses(scene, {{"space", "m", "orcaPassMotionVector3D"},
                               {"pixels", "m", "orcaPassMotionVector2D"},
                               {"mapped", "m",
                                "orcaPassMotionVector2DNormalized(\"useResolution\" 0, "
                                "\"maxDisplacement\" 4, \"writeMagnitude\" 1)"}}));
        const miColor space = picture.pixel("space", 8, 8);
        EXPECT_NEAR(space.r, 0.5f, floatNoise) << motion;
        EXPECT_NEAR(space.g, -0.25f, floatNoise) << motion;
        EXPECT_NEAR(picture.pixel("pixels", 8, 8).r, 2.0f, 1e-3f) << motion; // 4 pixels a unit
        EXPECT_NEAR(picture.pixel("pixels", 8, 8).g, -1.0f, 1e-3f) << motion;
        const miColor mapped = picture.pixel("mapped", 8, 8);
        EXPECT_NEAR(mapped.r, 0.75f, 1e-3f) << motion;
        EXPECT_NEAR(mapped.g, 0.375f, 1e-3f) << motion;
        EXPECT_NEAR(mapped.b, std::hypot(0.75f, 0.375f), 1e-3f) << motion;
    }
}

TEST(UtilityPasses, OcclusionInACornerIsTheViewFactorOfTheWall) {
    // A floor point at distance d from an endless wall of height h sees it cover (1 - d / sqrt(d^2 + h^2))
    // / 2.
    TestScene scene;
    scene.passes = {"beauty"};
    scene.samples = "3 3";
    scene.contents =
        lambert("m", "") + card("floor", "m", 0, 0, 0, 500) +
        "object \"wall\" visible shadow trace group -1 -500 0 -1 500 0 -1 500 2 -1 -500 2\n"
        "v 0 v 1 v 2 v 3 p \"m\" 0 1 2 3 end group end object instance \"wall_inst\" \"wall\" end instance\n";
    scene.members = {"floor", "wall_inst"};
    const RenderedScene picture(withPasses(scene, {{"occlusion", "rgba_fp", "orcaPassAmbientOcclusion"}}));
    for (const int px : {5, 8, 14}) {
        const float d = (static_cast<float>(px) + 0.5f) / 4.0f - 2.0f + 1.0f;
        const float covered = 0.5f * (1.0f - d / std::sqrt(d * d + 4.0f));
        EXPECT_NEAR(picture.pixel("occlusion", px, 8).r, 1.0f - covered, 0.01f) << d; // 64 x 64 rays
        EXPECT_EQ(picture.pixel("occlusion", px, 8).a, 1.0f);
    }
}

TEST(UtilityPasses, MasksKeepObjectsOutAndOtherRaysWriteNothing) {
    TestScene scene;
    scene.passes = {"beauty"};
    scene.contents = passMask("notFirst", "2") + lambert("m", "") +
                     lambert("pane", "\"transparency\" 1 1 1 1, \"refractionsOn\" on") +
                     card("left", "m", -1, 0, 0, 1, "data \"notFirst\"") + card("right", "m", 1, 0, 0, 1) +
                     card("window", "pane", 1, 1, 1, 0.5f);
    scene.members = {"left", "right", "window"};
    const RenderedScene picture(
        withPasses(scene, {{"first", "z", "orcaPassCameraDepth"}, {"second", "z", "orcaPassCameraDepth"}}));
    EXPECT_EQ(picture.pixel("first", 4, 8).r, 0.0f);
    EXPECT_GT(picture.pixel("second", 4, 8).r, 9.0f);
    EXPECT_GT(picture.pixel("first", 12, 6).r, 9.0f);
    EXPECT_EQ(picture.pixel("first", 12, 12).r, 0.0f); // seen through the window by a refracted ray only
}

struct OperationCase {
    int operation;
    float expected; // two writes of 0.5 and 0.25 in one network, the first into a black buffer
};
class CustomBuffers : public ::testing::TestWithParam<OperationCase> {};

TEST_P(CustomBuffers, TakeWhatANetworkWritesOnTheWay) {
    const auto [operation, expected] = GetParam();
    TestScene scene;
    scene.passes = {"beauty", "custom"};
    const auto writer = [](const std::string& name, int op, const std::string& value,
                           const std::string& pass) {
        return fmt::format(
            "shader \"{}\" \"orcaVelaWriteToColorBuffer\" ( \"bufferIndex\" 0, \"operation\" {}, \"scale\" "
            "0.5, \"passThrough\" {}, \"value\" {} 0 0 )\n",
            name, op, pass, value);
    };
    scene.contents =
        writer("first", 3, "1.0", "0.25 0.5 0.75 1") + writer("second", operation, "0.5", "= \"first\"") +
        lambert("m", "\"color\" 0 0 0 1, \"incandescence\" = \"second\"") +
        lambert("pane", "\"color\" 0 0 0 1, \"transparency\" 0.5 0.5 0.5 1, \"refractionsOn\" on") +
        card("wall", "m", 0, 0, 0, 8) + card("window", "pane", 1, 0, 1, 1);
    scene.members = {"wall", "window"};
    const RenderedScene picture(scene.text());
    EXPECT_NEAR(picture.pixel("main", 2, 8).g, 0.5f, floatNoise); // passed through both
    EXPECT_NEAR(picture.pixel("custom", 2, 8).r, expected, floatNoise);
    EXPECT_NEAR(picture.pixel("custom", 12, 8).r, 0.5f * expected, floatNoise); // handed up from level 1
}

INSTANTIATE_TEST_SUITE_P(Operations, CustomBuffers,
                         ::testing::Values(OperationCase{0, 0.5f}, OperationCase{1, 0.75f},
                                           OperationCase{2, 0.125f}, OperationCase{3, 0.25f},
                                           OperationCase{5, 0.75f}));

} // namespace
} // namespace orca::test
