// SPDX-License-Identifier: Apache-2.0
#include "render/geometry_fixture.h"

#include <cmath>
#include <set>

namespace {

using namespace orca;
using test::expectNear;
using test::Geometry;
using test::placed;
using test::placedAt;
using test::scaledBy;

TEST(Placement, GivesEveryPathItsOwnInstance) {
    Geometry scene;
    auto& meshInstance = scene.instance("leaf", scene.square("square"), placedAt(1, 0, 0));
    meshInstance.instance.userdata = 77;
    meshInstance.instance.label = 5;
    auto& light = scene.light("lamp");
    auto& group = scene.group("pair", {&meshInstance, &light});
    auto& left = scene.instance("left", group, placed(scaledBy(2, 2, 2), placedAt(-5, 0, -3)));
    auto& right = scene.instance("right", group, placedAt(5, 0, 0));
    const auto& geometry = scene.build(scene.group("root", {&left, &right}));

    // On the left the square spans x -5 to -1 and y -2 to 2 at z = -3.
    const auto onLeft = scene.lookDownAt(-1.5f, 1.5f), onRight = scene.lookDownAt(5, 0);
    ASSERT_TRUE(onLeft && onRight);
    EXPECT_NEAR(onLeft->hit.distance, 13.0f, 1e-5f);
    expectNear(onLeft->surface.point, {-1.5f, 1.5f, -3});
    expectNear(onRight->surface.point, {5, 0, 0});
    for (const float x : {-5.5f, -0.5f}) EXPECT_FALSE(scene.lookDownAt(x, 0)) << x;
    EXPECT_NE(onLeft->meshInstance->instance, onRight->meshInstance->instance);
    EXPECT_EQ(onLeft->meshInstance->mesh, onRight->meshInstance->mesh);
    EXPECT_EQ(meshInstance.instance.parent, left.tag);
    for (const auto* seen : {&*onLeft, &*onRight}) {
        const auto* record =
            static_cast<const miInstance*>(scene.database.get(seen->meshInstance->instance)->record());
        EXPECT_EQ(record, seen->meshInstance->instanceRecord);
        EXPECT_EQ(record->userdata, 77u);
        EXPECT_EQ(record->label, 5u);
        EXPECT_EQ(record->item, meshInstance.instance.item);
        const miVector corner = transformPoint({1, 1, 0}, record->tf.local_to_global);
        expectNear(corner, seen == &*onLeft ? miVector{-1, 2, -3} : miVector{7, 1, 0});
        expectNear(transformPoint(corner, record->tf.global_to_local), {1, 1, 0});
    }
    ASSERT_EQ(geometry.lights().size(), 2u);
    EXPECT_EQ(geometry.lights()[0], light.tag);
    const miTag second = geometry.lights()[1];
    EXPECT_EQ(scene.database.find<scene::InstanceElement>(second)->instance.tf.local_to_global[12], 5.0f);

    scene.built.reset();
    EXPECT_EQ(scene.database.get(second), nullptr) << "copies end with the geometry that needed them";
    EXPECT_NE(scene.database.get(light.tag), nullptr);
}

/// Places of a tilted square whose normal is easily got wrong, alone (put into world space) and twice
/// (instanced).
struct NormalCase {
    test::Matrix transform;
    bool twice;
};
class PlacedNormals : public ::testing::TestWithParam<NormalCase> {};

TEST_P(PlacedNormals, StandUprightAndKeepTheFront) {
    Geometry scene;
    // A slope through the z axis, counter-clockwise from above: normal (-1, 0, 1) / sqrt 2.
    auto& object =
        scene.object("slope", {{-1, -1, -1}, {1, -1, 1}, {1, 1, 1}, {-1, 1, -1}}, {{{0, 1, 2, 3}}});
    auto& group = object.groups[0];
    group.vectors.push_back({-1, 0, 1});
    group.normal = {4, 4, 4, 4};
    for (const miVector& uv : {miVector{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}})
        group.vectors.push_back(uv);
    group.textures.push_back({{5, 6, 7, 8}, {}, {}});
    auto& one = scene.instance("one", object, GetParam().transform);
    auto& far = scene.instance("far", object, placedAt(1000, 0, 0));
    auto& root = scene.group("root", {&one});
    if (GetParam().twice) root.members.push_back(far.tag);
    scene.build(root);
    ASSERT_EQ(scene.built->meshInstances()[0].placedInWorld, !GetParam().twice);

    // Closed form: corners taken to the world, and the side that is in front in object space.
    const miScalar* const toWorld = one.instance.tf.local_to_global;
    const auto world = [&](miVector p) { return transformPoint(p, toWorld); };
    using namespace orca::geometry;
    const miVector across = world({1, -1, 1}) - world({-1, -1, -1}),
                   along = world({0, 1, 0}) - world({0, 0, 0});
    miVector normal = normalized(cross(across, along));
    if (dot(normal, world({-1, 0, 1}) - world({0, 0, 0})) < 0.0f) normal = -1.0f * normal;

    const miVector target = world({0.25f, 0.5f, 0.25f});
    const auto seen = scene.look(target + 3.0f * normal, -1.0f * normal);
    ASSERT_TRUE(seen);
    expectNear(seen->surface.point, target);
    expectNear(seen->surface.geometricNormal, normal);
    expectNear(seen->surface.normal, normal);
    expectNear(scene.coordinates[0], {0.625f, 0.75f, 0}, 1e-5f);
    expectNear(seen->surface.dPdu, across, 1e-4f);
    expectNear(seen->surface.dPdv, 2.0f * along, 1e-4f);
}

INSTANTIATE_TEST_SUITE_P(
    Transforms, PlacedNormals,
    ::testing::Values(NormalCase{placedAt(3, 2, 1), false}, NormalCase{scaledBy(1, 1, 4), false},
                      NormalCase{scaledBy(1, 1, 4), true}, NormalCase{scaledBy(-1, 1, 1), false},
                      NormalCase{scaledBy(-1, 1, 1), true},
                      NormalCase{placed(scaledBy(3, 0.5f, -2), placedAt(1, 2, 3)), false},
                      NormalCase{placed(scaledBy(3, 0.5f, -2), placedAt(1, 2, 3)), true}));

TEST(Placement, SaysWhatCannotBePlaced) {
    Geometry scene;
    auto& first = scene.instance("first", scene.square("square"));
    auto& group = scene.group("loop", {&first});
    auto& again = scene.instance("again", group);
    group.members.push_back(again.tag);
    group.members.push_back(first.instance.item);
    auto& flat = scene.instance("flat", scene.square("other"));
    flat.transform[0] = 0;
    scene.build(scene.group("root", {&again, &flat}));
    EXPECT_TRUE(scene.logged(LogLevel::Error, "\"loop\" contains itself"));
    EXPECT_TRUE(scene.logged(LogLevel::Error, "member that is not an instance"));
    EXPECT_TRUE(scene.logged(LogLevel::Error, "\"flat\" cannot be inverted"));
    EXPECT_TRUE(scene.lookDownAt(0, 0));
}

TEST(Placement, EmptyAndHiddenScenesAreMissed) {
    Geometry scene;
    auto& hidden = scene.instance("hidden", scene.square("square"));
    hidden.hidden = true;
    const auto& geometry = scene.build(scene.group("root", {&hidden}));
    EXPECT_FALSE(scene.lookDownAt(0, 0));
    EXPECT_FALSE(geometry.occluded({{0, 0, 5}, {0, 0, -1}}));
    expectNear(geometry.boundsMin(), {0, 0, 0}, 0);
    expectNear(geometry.boundsMax(), {0, 0, 0}, 0);
    EXPECT_EQ(geometry.triangleCount(), 0u);
}

} // namespace
