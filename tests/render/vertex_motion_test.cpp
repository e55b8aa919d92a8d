// SPDX-License-Identifier: Apache-2.0
#include "geometry/mesh.h"
#include "render/geometry_fixture.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace {

using namespace orca;
using test::expectNear;
using test::Geometry;
using test::placedAt;
using test::scaledBy;

/// Gives every vertex of a one-group object the same motion vectors, one per segment.
void moveVertices(scene::ObjectElement& object, const std::vector<miVector>& segments) {
    scene::PolygonGroup& group = object.groups[0];
    for (const miVector& motion : segments) {
        group.motions.emplace_back(group.position.size(), static_cast<std::int32_t>(group.vectors.size()));
        group.vectors.push_back(motion);
    }
}

/// The square of SceneBuilder, as a triangle list with motion vectors.
scene::ObjectElement& squareList(Geometry& scene, const std::string& name,
                                 const std::vector<miVector>& segments, float x = 0) {
    auto& element = scene.object(name, {}, {});
    element.groups.clear();
    scene::TriangleList& list = element.triangleLists.emplace_back();
    list.layout.motion = 3;
    list.layout.motionCount = static_cast<int>(segments.size());
    list.layout.stride = 3 + 3 * list.layout.motionCount;
    list.vertexCount = 4;
    for (const miVector& p :
         {miVector{x - 1, -1, 0}, miVector{x + 1, -1, 0}, miVector{x + 1, 1, 0}, miVector{x - 1, 1, 0}}) {
        list.vertices.insert(list.vertices.end(), {p.x, p.y, p.z});
        for (const miVector& motion : segments)
            list.vertices.insert(list.vertices.end(), {motion.x, motion.y, motion.z});
    }
    list.indices = {0, 1, 2, 0, 2, 3};
    return element;
}

enum class Kind { Polygons, TriangleList };
struct WayCase {
    const char* name;
    Kind kind;
    bool instanced; ///< else placed in the world
};
class VertexWay : public ::testing::TestWithParam<WayCase> {};

/// Up by 2, then to the right by 3.
TEST_P(VertexWay, VisitsTheCorner) {
    const std::vector<miVector> way{{0, 0, 2}, {3, 0, 0}};
    Geometry scene;
    scene.options.motion = 1;
    auto& object =
        GetParam().kind == Kind::Polygons ? scene.square("square") : squareList(scene, "square", way);
    if (GetParam().kind == Kind::Polygons) moveVertices(object, way);
    auto& root = scene.group("root", {&scene.instance("leaf", object, scaledBy(1, 1, 2))});
    if (GetParam().instanced) root.members.push_back(scene.instance("far", object, placedAt(50, 0, 0)).tag);
    const auto& geometry = scene.build(root);
    EXPECT_TRUE(geometry.moves());
    EXPECT_FALSE(scene.logged(LogLevel::Warning, "motion vectors"));
    const auto expectAt = [&](float time, const miVector& centre) {
        const auto seen = scene.lookDownAt(centre.x + 0.5f, 0.25f, time);
        ASSERT_TRUE(seen) << time;
        EXPECT_NEAR(seen->hit.distance, 10 - centre.z, 1e-5f) << time;
        expectNear(seen->surface.point, centre + miVector{0.5f, 0.25f, 0});
        expectNear(seen->surface.opening, {0.5f, 0.25f, 0});
        expectNear(seen->surface.motion, {3, 0, 4});
        EXPECT_FALSE(scene.lookDownAt(centre.x + 1.01f, 0.25f, time));
        EXPECT_FALSE(scene.lookDownAt(centre.x - 1.01f, 0.25f, time));
    };
    expectAt(0.0f, {0, 0, 0});
    expectAt(0.25f, {0, 0, 2});
    expectAt(0.5f, {0, 0, 4});
    expectAt(0.75f, {1.5f, 0, 4});
    expectAt(1.0f, {3, 0, 4});
    EXPECT_LE(geometry.boundsMin().x, -1);
    EXPECT_GE(geometry.boundsMax().z, 4);
}
INSTANTIATE_TEST_SUITE_P(Kinds, VertexWay,
                         ::testing::Values(WayCase{"polygons", Kind::Polygons, false},
                                           WayCase{"polygonsInstanced", Kind::Polygons, true},
                                           WayCase{"list", Kind::TriangleList, false},
                                           WayCase{"listInstanced", Kind::TriangleList, true}),
                         [](const auto& way) { return std::string(way.param.name); });

class MixedMotion : public ::testing::Test {
protected:
    MixedMotion() { scene.options.motion = 1; }
    Geometry scene;
};

/// Three lists of one object, of two, three and no motion vectors a vertex.
TEST_F(MixedMotion, EveryVertexSharesTheShutterEvenlyAmongItsOwn) {
    auto& object = squareList(scene, "all", {{0, 0, 2}, {0, 0, -1}}, 0);
    for (auto* other : {&squareList(scene, "three", {{0, 0, 3}, {0, 0, 0}, {0, 0, -3}}, 4),
                        &squareList(scene, "none", {}, 8)})
        object.triangleLists.push_back(other->triangleLists[0]);
    scene.build(scene.group("root", {&scene.instance("leaf", object)}));
    EXPECT_FALSE(scene.logged(LogLevel::Warning, "motion vectors"));
    const auto heightAt = [&](float x, float time) {
        const auto seen = scene.lookDownAt(x, 0.3f, time);
        return seen ? 10 - seen->hit.distance : -99;
    };
    for (const float time : {0.1f, 1.0f / 3, 0.5f, 0.6f, 2.0f / 3, 0.9f, 1.0f}) {
        EXPECT_NEAR(heightAt(0, time), time < 0.5f ? 4 * time : 2 - 2 * (time - 0.5f), 1e-5f) << time;
        EXPECT_NEAR(heightAt(4, time), std::min({9 * time, 3.0f, 9 * (1 - time)}), 1e-5f) << time;
        EXPECT_NEAR(heightAt(8, time), 0, 1e-5f) << time;
    }
}

TEST_F(MixedMotion, VerticesOfOnePolygonMayDiffer) {
    auto& square = scene.square("square");
    auto& group = square.groups[0];
    group.vectors.insert(group.vectors.end(), {{0, 0, 1}, {0, 0, 3}});
    // Left edge: one vector; right edge: two, the second upward.
    group.motions = {{4, 4, 4, 4}, {-1, 5, 5, -1}};
    scene.build(scene.group("root", {&scene.instance("leaf", square)}));
    for (const auto& [time, left, right] : {std::array{0.5f, 0.5f, 1.0f}, std::array{1.0f, 1.0f, 4.0f}}) {
        EXPECT_NEAR(scene.lookDownAt(-0.999f, 0, time)->surface.point.z, left, 5e-3f);
        EXPECT_NEAR(scene.lookDownAt(0.999f, 0, time)->surface.point.z, right, 5e-3f);
    }
}

TEST_F(MixedMotion, CountsThatNeverMeetAreSaidAndFollowedAsFinelyAsCanBe) {
    auto& object = squareList(scene, "odd", std::vector<miVector>(11, {0, 0, 0.1f}), 0);
    object.triangleLists.push_back(
        squareList(scene, "other", std::vector<miVector>(13, {0, 0, 0.1f}), 4).triangleLists[0]);
    scene.build(scene.group("root", {&scene.instance("leaf", object)}));
    EXPECT_TRUE(scene.logged(LogLevel::Warning, "\"odd\" has vertices with 11, 13 motion vectors"));
    EXPECT_NEAR(scene.lookDownAt(0, 0.3f, 0.5f)->surface.point.z, 0.55f, 1e-4f);
    EXPECT_NEAR(scene.lookDownAt(4, 0.3f, 1.0f)->surface.point.z, 1.3f, 1e-4f);
    EXPECT_EQ(scene.built->meshInstances()[0].mesh->laterPoints.size(), 128u);
}

} // namespace
