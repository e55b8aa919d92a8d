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
    const char* name;
    Placement object, objectAtEnd, camera, cameraAtEnd;
};
class ProjectedMotion : public ::testing::TestWithParam<MotionCase> {};

TEST_P(ProjectedMotion, IsTheDisplacementInThePicture) {
    const MotionCase& motion = GetParam();
    TestScene scene;
    scene.perspective = true;
    scene.camera = "transform " + motion.camera.text() + " motion transform " + motion.cameraAtEnd.text();
    scene.contents = lambert("m", "\"incandescence\" 1 1 1 1") +
                     card("wall", "m", 0, 0, 0, 8) + // only its mesh is used
                     "instance \"moving\" \"wall_mesh\" transform " + motion.object.text() +
                     " motion transform " + motion.objectAtEnd.text() + " end instance\n";
    scene.members = {"moving"};
    scene.utilityPasses = {{"pixels", "m", "orcaPassMotionVector2D"}};
    const RenderedScene picture(scene);
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
    ::testing::Values(MotionCase{"ObjectTurns", {}, {0.4, 0, 0, 0}, {0, 0, 0, -10}, {0, 0, 0, -10}},
                      MotionCase{"ObjectComesCloser", {}, {0, 0.1, 0, -2}, {0, 0, 0, -10}, {0, 0, 0, -10}},
                      MotionCase{"CameraPans", {}, {}, {0, 0, 0, -10}, {0, -0.5, 0.25, -10}},
                      MotionCase{"CameraRollsAndComesCloser", {}, {}, {0.2, 0.1, 0, -10}, {-0.3, 0, 0.3, -8}},
                      MotionCase{
                          "Both", {0.1, 0, 0, 0}, {0.3, 0.2, 0, 0}, {0, 0, 0, -10}, {0.2, 0.4, 0, -11}}),
    [](const auto& motion) { return std::string(motion.param.name); });

TEST(Shutter, OpensAndClosesWhenTheOptionsSay) {
    TestScene scene;
    scene.samples = "2 2";
    scene.extraOptions = "motion on shutter 0.5 1";
    scene.contents = glowing("m", "1 1 1") + card("card", "m", -1.5f, 0, 0, 0.25f,
                                                  "motion transform 1 0 0 0 0 1 0 0 0 0 1 0 -1.5 0 0 1");
    const RenderedScene picture(scene); // from the middle to the right
    EXPECT_EQ(picture.pixel("main", 3, 8).r, 0.0f);
    EXPECT_GT(picture.pixel("main", 8, 8).r, 0.1f);
    EXPECT_GT(picture.pixel("main", 13, 8).r, 0.1f);
}

/// Moves 0.5 to the right and 0.25 down: the instance, or its vertices in two segments.
TEST(MotionVectors, AreTheSameWithAndWithoutMotionBlurOfThePicture) {
    for (const char* motion : {"motion off", "motion on shutter 0 1", "motion on shutter 0.25 0.25"})
        for (const bool deforms : {false, true}) {
            TestScene scene;
            scene.extraOptions = motion;
            scene.contents = lambert("m", "\"incandescence\" 1 1 1 1") +
                             (deforms ? "object \"flag\" visible shadow trace group\n"
                                        "-3 -3 0 3 -3 0 3 3 0 -3 3 0 1 0 0 -0.5 -0.25 0\n"
                                        "v 0 m 4 m 5 v 1 m 4 m 5 v 2 m 4 m 5 v 3 m 4 m 5 p \"m\" 0 1 2 3 end "
                                        "group end object\n"
                                        "instance \"plane\" \"flag\" end instance\n"
                                      : card("plane", "m", 0, 0, 0, 3,
                                             "motion transform 1 0 0 0 0 1 0 0 0 0 1 0 -0.5 0.25 0 1"));
            scene.utilityPasses = {{"space", "m", "orcaPassMotionVector3D"},
                                   {"pixels", "m", "orcaPassMotionVector2D"}};
            const RenderedScene picture(scene);
            expectColor(picture.pixel("space", 8, 8), {0.5f, -0.25f, 0, 0}, floatNoise, motion);
            expectColor(picture.pixel("pixels", 8, 8), {2, -1, 0, 0}, 1e-3f, motion); // 4 pixels a unit
        }
}

} // namespace
} // namespace orca::test
