// SPDX-License-Identifier: Apache-2.0
#include "geometry/singular_times.h"
#include "render/geometry_fixture.h"
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <string>
#include <vector>

namespace {

using namespace orca;
using test::expectNear;
using test::Geometry;
using test::Matrix;
using test::placed;
using test::placedAt;
using test::RenderedScene;
using test::scaledBy;
using test::TestScene;
using Motion = scene::InstanceElement::Motion;

constexpr double quarterTurn = std::numbers::pi / 2;

/// Parent to local, of an instance that is turned about z, counter-clockwise.
Matrix turnedBy(double angle) {
    const auto c = static_cast<float>(std::cos(angle)), s = static_cast<float>(std::sin(angle));
    return {c, -s, 0, 0, s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
}
miVector turned(const miVector& p, double angle) {
    const auto c = static_cast<float>(std::cos(angle)), s = static_cast<float>(std::sin(angle));
    return {c * p.x - s * p.y, s * p.x + c * p.y, p.z};
}

class MotionSteps : public ::testing::Test {
protected:
    MotionSteps() { scene.options.motion = 1; }
    scene::InstanceElement& moving(const std::string& name, const scene::Element& item, const Matrix& start,
                                   const Matrix& end) {
        auto& instance = scene.instance(name, item, start);
        instance.motion = Motion::Given;
        instance.motionTransform = end;
        return instance;
    }
    /// A square on an arm of length 6, which makes a quarter turn about the origin.
    void buildArm(int steps) {
        scene.options.motion_steps = steps;
        auto& card = scene.instance("card", scene.square("square"), placedAt(6, 0, 0));
        auto& arm = moving("arm", scene.group("on arm", {&card}), turnedBy(0), turnedBy(quarterTurn));
        scene.build(scene.group("root", {&arm}));
    }
    Geometry scene;
};

TEST_F(MotionSteps, AnArmStandsWhereSineAndCosineSayAndKeepsItsSize) {
    buildArm(16);
    for (const float time : {0.0f, 1.0f / 16, 0.5f, 11.0f / 16, 1.0f}) {
        const double angle = time * quarterTurn;
        for (const float inside : {-0.99f, 0.0f, 0.99f}) {
            const miVector corner = turned({6 + inside, inside, 0}, angle);
            const auto seen = scene.lookDownAt(corner.x, corner.y, time);
            ASSERT_TRUE(seen) << time << ", " << inside;
            expectNear(seen->surface.point, corner, 2e-6f);
            expectNear(seen->surface.opening, {6 + inside, inside, 0}, 1e-4f);
            expectNear(seen->surface.motion,
                       turned({6 + inside, inside, 0}, quarterTurn) - miVector{6 + inside, inside, 0}, 1e-4f);
        }
        for (const miVector& outside :
             {miVector{7.01f, 0, 0}, miVector{4.99f, 0, 0}, miVector{6, 1.01f, 0}}) {
            const miVector there = turned(outside, angle);
            EXPECT_FALSE(scene.lookDownAt(there.x, there.y, time)) << time;
        }
        // Shadow rays see it there too.
        const miVector centre = turned({6, 0, 0}, angle);
        geometry::Ray shadow{{centre.x, centre.y, -5}, {0, 0, 1}};
        shadow.time = time;
        shadow.rayClass = geometry::RayClass::Shadow;
        EXPECT_TRUE(scene.built->occluded(shadow));
        shadow.time = time < 0.5f ? 1.0f : 0.0f;
        EXPECT_FALSE(scene.built->occluded(shadow));
    }
    // Halfway between steps everything is as far out as the chord: 7 cos(half a step) = 6.9916.
    const double between = 6.5 / 16 * quarterTurn;
    const miVector inner = turned({6.985f, 0, 0}, between), outer = turned({6.998f, 0, 0}, between);
    EXPECT_TRUE(scene.lookDownAt(inner.x, inner.y, 6.5f / 16));
    EXPECT_FALSE(scene.lookDownAt(outer.x, outer.y, 6.5f / 16));
}

struct StretchCase {
    const char* name;
    Matrix stretch; ///< along the thing's own axes, before it turns
    float halfX, halfY;
};
class TurningStretch : public MotionSteps, public ::testing::WithParamInterface<StretchCase> {};

TEST_P(TurningStretch, IsKept) {
    const auto& [name, stretch, halfX, halfY] = GetParam();
    scene.options.motion_steps = 2;
    auto& meshInstance =
        moving("leaf", scene.square("square"), placed(stretch, placed(turnedBy(0.3), placedAt(1, 2, 0))),
               placed(stretch, placed(turnedBy(0.3 + quarterTurn), placedAt(3, 2, 0))));
    scene.build(scene.group("root", {&meshInstance}));
    const auto at = [&](float x, float y) {
        const miVector there = turned({x, y, 0}, 0.3 + quarterTurn / 2);
        return scene.lookDownAt(2 + there.x, 2 + there.y, 0.5f).has_value();
    };
    for (const float sign : {-1.0f, 1.0f}) {
        EXPECT_TRUE(at(sign * (halfX - 0.01f), 0));
        EXPECT_FALSE(at(sign * (halfX + 0.01f), 0));
        EXPECT_TRUE(at(0, sign * (halfY - 0.01f)));
        EXPECT_FALSE(at(0, sign * (halfY + 0.01f)));
    }
}
INSTANTIATE_TEST_SUITE_P(Stretches, TurningStretch,
                         ::testing::Values(StretchCase{"none", scaledBy(1, 1, 1), 1, 1},
                                           StretchCase{"wide", scaledBy(3, 0.5f, 1), 3, 0.5f},
                                           StretchCase{"mirrored", scaledBy(-2, 1, 1), 2, 1},
                                           StretchCase{"insideOut", scaledBy(-2, -1, -1), 2, 1}),
                         [](const auto& stretch) { return std::string(stretch.param.name); });

/// Stretching in z tilts the normal of a slope while the shutter is open.
TEST_F(MotionSteps, TurnTheNormalsOfWhatChangesItsShape) {
    auto& slope = scene.object("slope", {{-1, -1, -1}, {1, -1, 1}, {1, 1, 1}, {-1, 1, -1}}, {{{0, 1, 2, 3}}});
    for (const float side : {1.0f, -1.0f}) {
        auto& leaf = moving("leaf" + std::to_string(side), slope, scaledBy(1, side, 1), scaledBy(1, side, 3));
        scene.build(scene.group("root" + std::to_string(side), {&leaf}));
        const auto seen = scene.lookDownAt(0.5f, 0, 0.5f);
        ASSERT_TRUE(seen);
        expectNear(seen->surface.point, {0.5f, 0, 1});
        expectNear(seen->surface.normal, normalized({-2, 0, 1}));
        expectNear(seen->surface.motion, {0, 0, 1});
        EXPECT_EQ(leaf.instance.motion_transform[10], 1.0f / 3.0f);
    }
}

/// For an instant these have no inverse: nothing is seen of them then, and the ray goes on.
TEST_F(MotionSteps, WhatIsFlatForAnInstantIsCrossed) {
    auto& square = scene.square("square");
    for (const int steps : {1, 4}) {
        scene.options.motion_steps = steps;
        const std::string number = std::to_string(steps);
        auto& mirror = moving("mirror" + number, square, scaledBy(1, 1, 1), scaledBy(-1, 1, 1));
        auto& unequal = moving("unequal" + number, square, placed(scaledBy(1, 1, 1), placedAt(5, 0, 0)),
                               placed(scaledBy(1, -3, 1), placedAt(5, 0, 0)));
        auto& halfTurn = moving("half turn" + number, square, placedAt(-5, 0, 0),
                                placed(scaledBy(-1, -1, 1), placedAt(-5, 0, 0)));
        scene.build(scene.group("root" + number, {&mirror, &unequal, &halfTurn}));
        EXPECT_TRUE(scene.lookDownAt(0.49f, 0.9f, 0.25f));
        EXPECT_FALSE(scene.lookDownAt(0.51f, 0.9f, 0.25f));
        EXPECT_TRUE(scene.lookDownAt(0.49f, 0.9f, 0.75f));
        EXPECT_FALSE(scene.lookDownAt(0.1f, 0.0f, 0.5f));
        EXPECT_TRUE(scene.lookDownAt(5.9f, -1.9f, 1.0f));
        EXPECT_FALSE(scene.lookDownAt(5.1f, 0.1f, 0.25f)); // 1 (1 - t) - 3 t
        EXPECT_TRUE(scene.lookDownAt(5.1f, 0.001f, 0.26f));
        // Half a turn in one step goes straight through the centre; in several it is one.
        EXPECT_EQ(scene.lookDownAt(-5.9f, 0.0f, 0.5f).has_value(), steps > 1);
    }
}

/// At the end of the shutter there is no later time to trace at.
TEST(SingularTimes, AreAvoidedWithinTheShutter) {
    geometry::SingularTimes times;
    const Matrix start = scaledBy(1, 1, 1);
    Matrix end = start;
    end[0] = -1e-7f;
    times.add(start.data(), end.data(), 0.0f, 1.0f);
    times.sort();
    EXPECT_LT(times.avoidedBy(1.0f), 1.0f);
    EXPECT_EQ(times.avoidedBy(0.5f), 0.5f);
}

TEST_F(MotionSteps, StillThingsStayStillAndMotionOffStopsThem) {
    scene.options.motion_steps = 8;
    auto& square = scene.square("square");
    auto& still = moving("still", square, placedAt(-5, 0, 0), placedAt(-5, 0, 0));
    auto& stopped = scene.instance("stopped", square, placedAt(5, 0, 0));
    stopped.motion = Motion::Off;
    auto& arm = moving("arm", scene.group("on arm", {&stopped}), turnedBy(0), turnedBy(1));
    const auto& geometry = scene.build(scene.group("root", {&still, &arm}));
    EXPECT_FALSE(geometry.moves());
    EXPECT_TRUE(scene.lookDownAt(5.9f, 0.9f, 0.5f));
    EXPECT_TRUE(scene.lookDownAt(-5.9f, 0.9f, 0.5f));
}

/// A wheel that turns below a turning arm: turns of the whole path add up.
TEST_F(MotionSteps, TurnsOfAPathAddUp) {
    scene.options.motion_steps = 2;
    auto& wheel = moving("wheel", scene.square("square"), placed(turnedBy(0), placedAt(4, 0, 0)),
                         placed(turnedBy(-quarterTurn), placedAt(4, 0, 0)));
    auto& arm = moving("arm", scene.group("on arm", {&wheel}), turnedBy(0), turnedBy(quarterTurn));
    scene.build(scene.group("root", {&arm}));
    const miVector centre = turned({4, 0, 0}, quarterTurn / 2);
    // The wheel turns back as far as the arm turns: it stays upright.
    EXPECT_TRUE(scene.lookDownAt(centre.x + 0.99f, centre.y + 0.99f, 0.5f));
    EXPECT_FALSE(scene.lookDownAt(centre.x + 1.01f, centre.y, 0.5f));
}

TEST(CameraMotionSteps, ARollingCameraSeesTheSceneAtHalfTheTurn) {
    const auto render = [](const std::string& camera, const std::string& options) {
        TestScene scene;
        scene.perspective = true;
        scene.camera = camera;
        scene.extraOptions = options;
        scene.contents = test::glowing("m", "1 1 1") + test::card("card", "m", 0.7f, 0.2f, 0, 0.6f);
        return RenderedScene(scene).words("main");
    };
    const auto placement = [](double angle) {
        return fmt::format("{}", fmt::join(placed(turnedBy(angle), placedAt(0, 0, 10)), " "));
    };
    const auto still = render("transform " + placement(0.2 + quarterTurn / 2), "");
    const auto rolling =
        render("transform " + placement(0.2) + " motion transform " + placement(0.2 + quarterTurn),
               "motion on motion steps 2 shutter 0.5 0.5");
    for (std::size_t i = 0; i < still.size(); ++i) EXPECT_NEAR(rolling[i], still[i], 1e-4f) << i;
    EXPECT_GT(std::accumulate(still.begin(), still.end(), 0.0f), 10);
}

} // namespace
