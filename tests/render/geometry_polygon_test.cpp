// SPDX-License-Identifier: Apache-2.0
#include "geometry/triangulate.h"

#include "base/vectors.h"
#include "geometry/mesh.h"
#include "support/scene_builder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace orca;
using geometry::PolygonFault;

struct PolygonCase {
    const char* name;
    std::vector<std::vector<std::array<float, 2>>> loops;
    double area;
    PolygonFault fault = PolygonFault::None;
    friend void PrintTo(const PolygonCase& polygon, std::ostream* out) { *out << polygon.name; }
};

std::vector<std::array<float, 2>> star(int tips) {
    std::vector<std::array<float, 2>> loop;
    for (int i = 0; i < 2 * tips; ++i) {
        const double angle = M_PI * i / tips, radius = i % 2 ? 0.3 : 1.0;
        loop.push_back(
            {static_cast<float>(radius * std::cos(angle)), static_cast<float>(radius * std::sin(angle))});
    }
    return loop;
}

class Triangulation : public ::testing::TestWithParam<PolygonCase> {};

/// Seen along every axis, from both sides, with the holes running either way.
TEST_P(Triangulation, CoversTheAreaAndTurnsAsTheOutline) {
    const PolygonCase& polygon = GetParam();
    for (int axis = 0; axis < 3; ++axis)
        for (const bool fromBehind : {false, true})
            for (const bool holesReversed : {false, true}) {
                std::vector<miVector> points;
                std::vector<std::uint32_t> sizes;
                for (std::size_t l = 0; l < polygon.loops.size(); ++l) {
                    auto loop = polygon.loops[l];
                    if (fromBehind != (l > 0 && holesReversed)) std::reverse(loop.begin(), loop.end());
                    sizes.push_back(static_cast<std::uint32_t>(loop.size()));
                    for (const auto [x, y] : loop)
                        points.push_back(axis == 0   ? miVector{5, x, y}
                                         : axis == 1 ? miVector{y, 5, x}
                                                     : miVector{x, y, 5});
                }
                std::vector<std::array<std::uint32_t, 3>> triangles;
                ASSERT_EQ(geometry::triangulate(points, sizes, triangles), polygon.fault);
                if (polygon.fault != PolygonFault::None) continue;
                double area = 0;
                for (const auto& [a, b, c] : triangles) {
                    using namespace orca::geometry;
                    const miVector n = cross(points[b] - points[a], points[c] - points[a]);
                    const float along = axis == 0 ? n.x : axis == 1 ? n.y : n.z;
                    EXPECT_GT(fromBehind ? -along : along, 0.0f);
                    area += 0.5 * std::abs(along);
                }
                EXPECT_NEAR(area, polygon.area, 1e-5 * polygon.area);
            }
}

const std::vector<std::array<float, 2>> box = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
const std::vector<std::array<float, 2>> lowerLeft = {{1, 1}, {3, 1}, {3, 3}, {1, 3}};
const std::vector<std::array<float, 2>> middle = {{4, 4}, {6, 4}, {6, 6}, {4, 6}};
const std::vector<std::array<float, 2>> level = {{7, 4}, {9, 4}, {9, 6}, {7, 6}};

INSTANTIATE_TEST_SUITE_P(
    Shapes, Triangulation,
    ::testing::Values(
        PolygonCase{"triangle", {{{0, 0}, {2, 0}, {0, 2}}}, 2},
        PolygonCase{"arrowhead", {{{0, 0}, {4, 2}, {0, 4}, {1, 2}}}, 6},
        PolygonCase{"letter L", {{{0, 0}, {3, 0}, {3, 1}, {1, 1}, {1, 3}, {0, 3}}}, 5},
        PolygonCase{"comb",
                    {{{0, 0},
                      {7, 0},
                      {7, 3},
                      {6, 3},
                      {6, 1},
                      {5, 1},
                      {5, 3},
                      {4, 3},
                      {4, 1},
                      {3, 1},
                      {3, 3},
                      {2, 3},
                      {2, 1},
                      {1, 1},
                      {1, 3},
                      {0, 3}}},
                    15},
        PolygonCase{"star", {star(7)}, 14 * 0.5 * 0.3 * std::sin(M_PI / 7)},
        PolygonCase{
            "corners on a straight edge", {{{0, 0}, {1, 0}, {2, 0}, {4, 0}, {4, 2}, {4, 4}, {0, 4}}}, 16},
        PolygonCase{"frame", {box, middle}, 96}, PolygonCase{"two holes in line", {box, middle, level}, 92},
        PolygonCase{"three holes", {box, level, lowerLeft, middle}, 88},
        PolygonCase{"holes that touch",
                    {box, {{2, 2}, {5, 2}, {5, 5}, {2, 5}}, {{5, 5}, {8, 5}, {8, 8}, {5, 8}}},
                    82},
        PolygonCase{"hole in a concave outline",
                    {{{0, 0}, {10, 0}, {10, 10}, {8, 10}, {8, 2}, {2, 2}, {2, 10}, {0, 10}},
                     {{0.5f, 0.5f}, {1.5f, 0.5f}, {1.5f, 9}, {0.5f, 9}}},
                    52 - 8.5},
        PolygonCase{"star hole",
                    {{{-2, -2}, {2, -2}, {2, 2}, {-2, 2}}, star(9)},
                    16 - 18 * 0.5 * 0.3 * std::sin(M_PI / 9)},
        PolygonCase{"line", {{{0, 0}, {1, 1}, {2, 2}}}, 0, PolygonFault::Degenerate},
        PolygonCase{"two corners", {{{0, 0}, {1, 1}}}, 0, PolygonFault::Degenerate},
        PolygonCase{"crossing itself", {{{0, 0}, {4, 4}, {4, 0}, {0, 3}}}, 0, PolygonFault::NotSimple}));

TEST(Mesh, LeavesFaultyPolygonsOutAndSaysSo) {
    test::SceneBuilder scene;
    auto& object = scene.object("bad", {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 0, 0}},
                                {{{0, 1, 2, 3}}, {{0, 1, 77}}, {{0, 1, 4}}, {{0, 0, 1}}});
    const geometry::Mesh mesh = geometry::buildMesh(object, scene.log);
    EXPECT_EQ(mesh.triangles.size(), 2u);
    EXPECT_TRUE(scene.logged(LogLevel::Error, "\"bad\": 1 polygons name vertices"));
    EXPECT_TRUE(scene.logged(LogLevel::Warning, "\"bad\": 2 polygons without area"));
}

/// A group and a triangle list in one object, only one with normals and texture coordinates.
TEST(Mesh, PartsOfAnObjectShareTheirArrays) {
    test::SceneBuilder scene;
    auto& object = scene.square("mixed");
    auto& list = object.triangleLists.emplace_back();
    list.layout.stride = 8;
    list.layout.normal = 3;
    list.layout.texture = {6};
    list.layout.textureDimension = {2};
    list.vertexCount = 3;
    list.vertices = {0, 0, 1,    0,    0, 5, 0.1f, 0.2f, 1, 0, 1,    0,
                     0, 5, 0.3f, 0.4f, 0, 1, 1,    0,    0, 5, 0.5f, 0.6f};
    list.indices = {0, 1, 2, 0, 1, 9};
    const geometry::Mesh mesh = geometry::buildMesh(object, scene.log);
    ASSERT_EQ(mesh.triangles.size(), 3u);
    EXPECT_EQ(mesh.triangles[2], (geometry::Mesh::Triangle{4, 5, 6}));
    EXPECT_TRUE(isNull(mesh.normals[0]));
    EXPECT_EQ(mesh.normals[4].z, 1.0f);
    EXPECT_EQ(mesh.textures[5].y, 0.4f);
    EXPECT_TRUE(scene.logged(LogLevel::Error, "1 polygons name vertices"));
}

} // namespace
