// SPDX-License-Identifier: Apache-2.0
#include "geometry/ray_origin.h"
#include "render/geometry_fixture.h"

#include <cmath>
#include <cstring>

namespace {

using namespace orca;
using test::Geometry;
using test::placedAt;

class SkippedTriangle : public ::testing::TestWithParam<bool> {};

TEST_P(SkippedTriangle, IsPassedThroughAndNothingElseIs) {
    Geometry scene;
    auto& object = scene.square("square");
    auto& first = scene.instance("first", object, placedAt(0, 0, 0));
    auto& second = scene.instance("second", GetParam() ? object : scene.square("other"), placedAt(0, 0, -2));
    scene.build(scene.group("root", {&first, &second}));

    const auto front = scene.lookDownAt(0.5f, 0.25f);
    ASSERT_TRUE(front);
    geometry::Ray ray{front->surface.point, {0, 0, -1}};
    ray.skipInstance = front->hit.meshInstance;
    ray.skipTriangle = front->hit.triangle;
    const auto behind = scene.look(ray);
    ASSERT_TRUE(behind);
    EXPECT_EQ(behind->meshInstance->instance, second.tag);
    EXPECT_NEAR(behind->hit.distance, 2.0f, 1e-5f);
    EXPECT_TRUE(scene.built->occluded(ray));

    ray.farDistance = 1.0f;
    EXPECT_FALSE(scene.look(ray));
    EXPECT_FALSE(scene.built->occluded(ray));

    // The square's other triangle is another matter.
    ray.skipTriangle = 1 - ray.skipTriangle;
    ray.origin.z += 0.5f;
    EXPECT_TRUE(scene.built->occluded(ray));
}
INSTANTIATE_TEST_SUITE_P(AloneAndInstanced, SkippedTriangle, ::testing::Bool());

TEST(Rays, ThatLeadNowhereMeetNothing) {
    Geometry scene;
    scene.options.motion = 1;
    auto& meshInstance = scene.instance("leaf", scene.square("square"));
    meshInstance.motion = scene::InstanceElement::Motion::Given;
    meshInstance.motionTransform = placedAt(0.5f, 0, 0);
    scene.build(scene.group("root", {&meshInstance}));
    const float bad = std::nanf(""), far = HUGE_VALF;
    for (const auto& [origin, direction] : {std::pair<miVector, miVector>{{0, 0, 5}, {bad, 0, -1}},
                                            {{0, bad, 5}, {0, 0, -1}},
                                            {{0, 0, far}, {0, 0, -1}},
                                            {{0, 0, 5}, {0, 0, 0}},
                                            {{0, 0, 5}, {0, 0, far}}}) {
        EXPECT_FALSE(scene.look(origin, direction));
        EXPECT_FALSE(scene.built->occluded({origin, direction}));
    }
    for (const float time : {bad, -3.0f, 7.0f}) EXPECT_TRUE(scene.lookDownAt(0, 0, time));
    EXPECT_TRUE(scene.built->occluded({{0, 0, 5}, {0, 0, -1}, -1.0f}));
}

TEST(LeavingASurface, ClearsItOnTheSideOfTheDirection) {
    for (const float height : {0.0f, 0.01f, 3.0f, -700.0f, 1e5f})
        for (const float side : {1.0f, -1.0f}) {
            const miVector start =
                geometry::offsetRayOrigin({5, -5, height}, {0, 0, 1}, {0.9f, 0, 0.1f * side});
            EXPECT_GT(side * (start.z - height), 0.0f);
            EXPECT_LT(std::abs(start.z - height), 1e-4f * std::max(1.0f, std::abs(height)));
            EXPECT_EQ(start.x, 5.0f);
        }
}

/// A bumpy grid, looked at exactly through its corners and edges, where several triangles are equally near.
TEST(Hits, DoNotDependOnTheNumberOfThreads) {
    constexpr int size = 200;
    std::vector<miVector> points;
    std::vector<std::vector<std::vector<std::uint32_t>>> polygons;
    for (int y = 0; y <= size; ++y)
        for (int x = 0; x <= size; ++x) points.push_back({float(x), float(y), float((x * 7 + y * 13) % 5)});
    for (std::uint32_t y = 0; y < size; ++y)
        for (std::uint32_t x = 0; x < size; ++x) {
            const std::uint32_t a = y * (size + 1) + x, b = a + size + 1;
            polygons.push_back({{a, a + 1, b + 1, b}});
        }
    const auto trace = [&](int threads, std::vector<geometry::Hit>& hits) {
        Geometry scene;
        auto& object = scene.object("grid", points, polygons);
        auto& copy = scene.object("same grid", points, polygons);
        auto& one = scene.instance("one", object);
        auto& two = scene.instance("two", copy);
        scene.build(scene.group("root", {&one, &two}), threads);
        for (int y = 0; y <= 2 * size; ++y)
            for (int x = 0; x <= 2 * size; ++x) {
                geometry::Hit hit;
                std::memset(&hit, 0, sizeof hit);
                // On the border either answer is good, as long as it is always the same.
                hit.meshInstance =
                    scene.built->intersect({{0.5f * float(x), 0.5f * float(y), 50}, {0, 0, -1}}, hit)
                        ? hit.meshInstance
                        : 99;
                hits.push_back(hit);
            }
    };
    std::vector<geometry::Hit> alone;
    trace(1, alone);
    for (const int threads : {2, 0}) {
        std::vector<geometry::Hit> together;
        trace(threads, together);
        ASSERT_EQ(together.size(), alone.size());
        EXPECT_EQ(std::memcmp(alone.data(), together.data(), alone.size() * sizeof(geometry::Hit)), 0)
            << threads;
    }
}

} // namespace
