// SPDX-License-Identifier: Apache-2.0
#include "render/geometry_fixture.h"

namespace {

using namespace orca;
using test::expectNear;
using test::Geometry;
using test::placedAt;
using test::scaledBy;
using Motion = scene::InstanceElement::Motion;

class MovingScene : public ::testing::Test {
protected:
    MovingScene() { scene.options.motion = 1; }
    void move(scene::InstanceElement& instance, const test::Matrix& end) {
        instance.motion = Motion::Given;
        instance.motionTransform = end;
    }
    Geometry scene;
};

TEST_F(MovingScene, InstanceIsHitWhereItStandsAtTheRaysTime) {
    auto& meshInstance = scene.instance("leaf", scene.square("square"));
    auto& outer = scene.instance("outer", scene.group("group", {&meshInstance}));
    move(outer, placedAt(10, 0, 4));
    const auto& geometry = scene.build(scene.group("root", {&outer}));
    ASSERT_TRUE(geometry.moves());
    for (const float time : {0.0f, 0.25f, 1.0f}) {
        const auto seen = scene.lookDownAt(10 * time + 0.5f, 0.25f, time);
        ASSERT_TRUE(seen) << time;
        expectNear(seen->surface.point, {10 * time + 0.5f, 0.25f, 4 * time});
        expectNear(seen->surface.motion, {10, 0, 4});
        expectNear(seen->surface.geometricNormal, {0, 0, 1});
        EXPECT_FALSE(scene.lookDownAt(10 * time + 1.5f, 0, time));
    }
    expectNear(geometry.boundsMin(), {-1, -1, 0}, 1e-4f);
    expectNear(geometry.boundsMax(), {11, 1, 4}, 1e-4f);
    EXPECT_EQ(meshInstance.instance.motion, 1);
    EXPECT_EQ(meshInstance.instance.motion_transform[12], -10.0f);
}

/// Stretching in z tilts the normal of a slope while the shutter is open.
TEST_F(MovingScene, NormalsFollowAChangingPlacement) {
    auto& slope = scene.object("slope", {{-1, -1, -1}, {1, -1, 1}, {1, 1, 1}, {-1, 1, -1}}, {{{0, 1, 2, 3}}});
    for (const float side : {1.0f, -1.0f}) {
        auto& meshInstance = scene.instance("leaf" + std::to_string(side), slope, scaledBy(1, side, 1));
        move(meshInstance, scaledBy(1, side, 3));
        scene.build(scene.group("root" + std::to_string(side), {&meshInstance}));
        const auto seen = scene.lookDownAt(0.5f, 0, 0.5f);
        ASSERT_TRUE(seen);
        expectNear(seen->surface.point, {0.5f, 0, 1});
        expectNear(seen->surface.normal, normalized({-2, 0, 1}));
        expectNear(seen->surface.motion, {0, 0, 1});
    }
}

/// A picture without motion blur still tells passes how things move.
TEST(MotionVectors, AreThereWithoutMotionBlur) {
    Geometry scene;
    auto& object = scene.square("square");
    object.groups[0].vectors.push_back({0, 0, 1});
    object.groups[0].motions.push_back({4, 4, 4, 4});
    auto& meshInstance = scene.instance("leaf", object, placedAt(2, 0, 0));
    meshInstance.motion = Motion::Given;
    meshInstance.motionTransform = placedAt(2, 3, 0);
    scene.build(scene.group("root", {&meshInstance}));
    const auto seen = scene.lookDownAt(2, 0, 1.0f);
    ASSERT_TRUE(seen);
    expectNear(seen->surface.point, {2, 0, 0});
    expectNear(seen->surface.motion, {0, 3, 1});
}

} // namespace
