// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace orca::test {
namespace {

constexpr float floatNoise = 1e-4f; // positions near 10, single precision

/// A parent-to-local matrix: turned about z by `angle`, then moved.
struct Placement {
    double angle = 0;
    double x = 0, y = 0, z = 0;

    [[nodiscard]] std::string text() const {
        const double c = std::cos(angle), s = std::sin(angle);
        return fmt::format("{} {} 0 0  {} {} 0 0  0 0 1 0  {} {} {} 1", c, s, -s, c, x, y, z);
    }
    void toLocal(double (&p)[3]) const {
        const double c = std::cos(angle), s = std::sin(angle);
        const double turned[2] = {p[0] * c - p[1] * s, p[0] * s + p[1] * c};
        p[0] = turned[0] + x, p[1] = turned[1] + y, p[2] += z;
    }
    void toParent(double (&p)[3]) const {
        const double c = std::cos(angle), s = std::sin(angle);
        const double moved[2] = {p[0] - x, p[1] - y};
        p[0] = moved[0] * c + moved[1] * s, p[1] = -moved[0] * s + moved[1] * c, p[2] -= z;
    }
};

struct MotionCase {
    std::string name;
    Placement object, objectAtEnd, camera, cameraAtEnd;
};
class ProjectedMotion : public ::testing::TestWithParam<MotionCase> {};

TEST_P(ProjectedMotion, IsTheDisplacementInThePicture) {
    const MotionCase& motion = GetParam();
    TestScene scene;
    scene.perspective = true;
    scene.passes = {"beauty"};
    scene.camera = "transform " + motion.camera.text() + " motion transform " + motion.cameraAtEnd.text();
    scene.contents = lambert("m", "\"incandescence\" 1 1 1 1") +
                     card("wall", "m", 0, 0, 0, 8) + // only its mesh is used
                     "instance \"moving\" \"wall_mesh\" transform " + motion.object.text() +
                     " motion transform " + motion.objectAtEnd.text() + " end instance\n";
    scene.members = {"moving"};
    const RenderedScene picture(withUtilityPasses(scene, {{"pixels", "m", "orcaPassMotionVector2D"}}));
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    const auto raster = [](const double(&p)[3], double(&at)[2]) {
        for (int i = 0; i < 2; ++i) at[i] = 16 * (0.5 + p[i] / -p[2] / 0.4);
    };
    for (const int px : {1, 7, 12})
        for (const int py : {2, 8, 15}) {
            // The wall lies in a plane of constant depth; the pixel's middle meets it here, in camera space.
            const double depth = motion.object.z - motion.camera.z;
            double point[3] = {((px + 0.5) / 16 - 0.5) * 0.4 * depth, ((py + 0.5) / 16 - 0.5) * 0.4 * depth,
                               -depth};
            double start[2], end[2];
            raster(point, start);
            motion.camera.toParent(point);
            motion.object.toLocal(point);
            motion.objectAtEnd.toParent(point);
            motion.cameraAtEnd.toLocal(point);
            raster(point, end);
            const miColor found = picture.pixel("pixels", px, py);
            EXPECT_NEAR(found.r, end[0] - start[0], 2e-3f) << px << ", " << py;
            EXPECT_NEAR(found.g, end[1] - start[1], 2e-3f) << px << ", " << py;
        }
}

INSTANTIATE_TEST_SUITE_P(
    Motions, ProjectedMotion,
    ::testing::Values(
        MotionCase{"object turns", {}, {0.4, 0, 0, 0}, {0, 0, 0, -10}, {0, 0, 0, -10}},
        MotionCase{"object comes closer", {}, {0, 0.1, 0, -2}, {0, 0, 0, -10}, {0, 0, 0, -10}},
        MotionCase{"camera pans", {}, {}, {0, 0, 0, -10}, {0, -0.5, 0.25, -10}},
        MotionCase{"camera rolls and comes closer", {}, {}, {0.2, 0.1, 0, -10}, {-0.3, 0, 0.3, -8}},
        MotionCase{"both", {0.1, 0, 0, 0}, {0.3, 0.2, 0, 0}, {0, 0, 0, -10}, {0.2, 0.4, 0, -11}}),
    [](const auto& motion) {
        std::string name = motion.param.name;
        std::replace(name.begin(), name.end(), ' ', '_');
        return name;
    });

TEST(CameraMotion, BlursAStillSceneLikeTheOppositeMotionOfTheScene) {
    const auto render = [](const std::string& cameraMotion, const std::string& cardMotion) {
        TestScene scene;
        scene.samples = "2 2";
        scene.extraOptions = "motion on shutter 0 1";
        scene.camera += cameraMotion;
        scene.contents =
            lambert("m", "\"incandescence\" 1 1 1 1") + card("card", "m", 0, 0, 0, 1, cardMotion);
        scene.members = {"card"};
        return std::make_unique<RenderedScene>(scene.text());
    };
    const auto camera = render(" motion transform 1 0 0 0 0 1 0 0 0 0 1 0 -0.75 0.5 -10 1", "");
    const auto scene = render("", "motion transform 1 0 0 0 0 1 0 0 0 0 1 0 0.75 -0.5 0 1");
    double blurred = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const float value = camera->pixel("main", x, y).r;
            EXPECT_NEAR(value, scene->pixel("main", x, y).r, floatNoise) << x << ", " << y;
            if (value > 0.1f && value < 0.9f) ++blurred;
        }
    EXPECT_GT(blurred, 10);
}

struct BlurCase {
    std::string motion; ///< of the picture
    bool deforms;       ///< the vertices move, not the instance
};
class MotionVectors : public ::testing::TestWithParam<BlurCase> {};

TEST_P(MotionVectors, AreTheSameWithAndWithoutMotionBlurOfThePicture) {
    // Moves 0.5 to the right and 0.25 down.
    const auto& [motion, deforms] = GetParam();
    TestScene scene;
    scene.passes = {"beauty"};
    scene.contents = lambert("m", "\"incandescence\" 1 1 1 1");
    if (deforms)
        scene.contents +=
            "object \"flag\" visible shadow trace group -3 -3 0 3 -3 0 3 3 0 -3 3 0 0.5 -0.25 0\n"
            "v 0 m 4 v 1 m 4 v 2 m 4 v 3 m 4 p \"m\" 0 1 2 3 end group end object\n"
            "instance \"plane\" \"flag\" end instance\n";
    else
        scene.contents +=
            card("plane", "m", 0, 0, 0, 3, "motion transform 1 0 0 0 0 1 0 0 0 0 1 0 -0.5 0.25 0 1");
    scene.members = {"plane"};
    scene.extraOptions = motion;
    const RenderedScene picture(
        withUtilityPasses(scene, {{"space", "m", "orcaPassMotionVector3D"},
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

INSTANTIATE_TEST_SUITE_P(Blurs, MotionVectors,
                         ::testing::Values(BlurCase{"motion off", false},
                                           BlurCase{"motion on shutter 0 1", false},
                                           BlurCase{"motion off", true},
                                           BlurCase{"motion on shutter 0 1", true}));

} // namespace
} // namespace orca::test
