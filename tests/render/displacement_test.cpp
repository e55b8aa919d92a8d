// SPDX-License-Identifier: Apache-2.0
#include "geometry/mesh.h"
#include "render/geometry_fixture.h"
#include "rendered_scene.h"
#include "scene_parts.h"

#include <array>
#include <cmath>
#include <functional>

namespace {

using namespace orca;
using test::expectNear;
using test::Geometry;
using test::placedAt;
using test::RenderedScene;
using test::scaledBy;
using test::TestScene;

/// A scene whose only displacement shader is a function of the test.
struct DisplacedScene : Geometry {
    using Height = std::function<float(const geometry::DisplacementVertex&)>;

    DisplacedScene() {
        mi_matrix_ident(view.worldToCamera);
        view.worldToCamera[14] = -10.0f; // ten above the ground, looking down
        view.pixelsPerUnit = 100.0f;
        view.halfWidth = view.halfHeight = 1.0f;
        view.nearest = 0.01f;
        bumpy.material.displace = 1;
    }
    geometry::SceneGeometry& build(const scene::GroupElement& root, const Height& height, int threads = 2) {
        built = std::make_unique<geometry::SceneGeometry>(database, log, root.tag, options, threads,
                                                          geometry::SceneGeometry::Displacement::StillToCome);
        built->finish(view, [&](const geometry::MeshInstance&, const geometry::DisplacementVertex& vertex) {
            return vertex.material == bumpy.tag ? height(vertex) : 0.0f;
        });
        coordinates.assign(static_cast<std::size_t>(built->maxTextureSpaces()) + 1, {});
        return *built;
    }
    scene::InstanceElement& bumpyInstance(const std::string& name, const scene::Element& item,
                                          const test::Matrix& parentToLocal = placedAt(0, 0, 0)) {
        auto& element = instance(name, item, parentToLocal);
        element.materials = {bumpy.tag};
        return element;
    }

    geometry::TessellationView view{};
    scene::MaterialElement& bumpy = material("bumpy");
};

class Displacement : public ::testing::Test {
protected:
    DisplacedScene scene;
};

TEST_F(Displacement, FollowsAWaveWithItsNormals) {
    constexpr float k = 5.0f, amplitude = 0.2f;
    scene.view.pixelsPerUnit = 2000.0f; // edges of a fiftieth
    auto& meshInstance = scene.bumpyInstance("leaf", scene.square("square"));
    const auto& geometry = scene.build(scene.group("root", {&meshInstance}), [](const auto& vertex) {
        return amplitude * std::sin(k * vertex.point.x);
    });
    EXPECT_GT(geometry.triangleCount(), 5000u);
    for (float x = -0.95f; x < 0.95f; x += 0.061f) {
        const auto seen = scene.lookDownAt(x, 0.3f);
        ASSERT_TRUE(seen) << x;
        const float height = amplitude * std::sin(k * x), slope = k * amplitude * std::cos(k * x);
        // Flat triangles deviate by curvature times edge squared over 8.
        EXPECT_NEAR(seen->surface.point.z, height, 3e-4f) << x;
        EXPECT_NEAR(-seen->surface.normal.x / seen->surface.normal.z, slope, 0.04f) << x;
        EXPECT_NEAR(seen->surface.normal.y, 0.0f, 0.02f) << x;
    }
}

TEST_F(Displacement, LeavesNoCracksWhereVerticesAreNotShared) {
    // Six faces with vertices and normals of their own, wound both ways; bumps differ from face to face.
    std::vector<miVector> points;
    std::vector<std::vector<std::vector<std::uint32_t>>> faces;
    for (const float side : {-1.0f, 1.0f})
        for (int axis = 0; axis < 3; ++axis) {
            const auto first = static_cast<std::uint32_t>(points.size());
            for (const auto& [u, v] : {std::pair(-1.0f, -1.0f), {1.0f, -1.0f}, {1.0f, 1.0f}, {-1.0f, 1.0f}})
                points.push_back(axis == 0   ? miVector{side, u, v}
                                 : axis == 1 ? miVector{u, side, v}
                                             : miVector{u, v, side});
            faces.push_back({{first, first + 1, first + 2, first + 3}});
        }
    scene.view.pixelsPerUnit = 400.0f;
    auto& meshInstance = scene.bumpyInstance("leaf", scene.object("box", points, faces));
    scene.build(scene.group("root", {&meshInstance}), [](const auto& vertex) {
        const miVector& p = vertex.point;
        return 0.15f * std::sin(9.0f * p.x + 4.0f * p.y) * std::cos(7.0f * p.z) + 0.05f * vertex.normal.x;
    });
    for (float t = -1.2f; t < 1.2f; t += 0.0037f) // along and about the box's edges, and all over its faces
        for (const float s : {-1.0f, -0.99f, -0.4f, 0.2f, 1.0f, 1.01f})
            for (miVector d : {miVector{1, s, t}, {t, -1, s}, {s, t, 1}, {-1, t, s}}) {
                mi_vector_normalize(&d);
                EXPECT_TRUE(scene.look({0.013f, -0.021f, 0.017f}, d)) << d.x << ' ' << d.y << ' ' << d.z;
            }
}

/// Two slopes with vertices of their own: new vertices of the ridge belong to one slope each.
TEST_F(Displacement, KeepsHardEdges) {
    auto& roof = scene.object(
        "roof",
        {{-1, -1, -1}, {0, -1, 0}, {0, 1, 0}, {-1, 1, -1}, {0, -1, 0}, {1, -1, -1}, {1, 1, -1}, {0, 1, 0}},
        {{{0, 1, 2, 3}}, {{4, 5, 6, 7}}});
    scene.build(scene.group("root", {&scene.bumpyInstance("leaf", roof)}), [](const auto&) { return 0.0f; });
    for (const float x : {-0.02f, 0.02f})
        expectNear(scene.lookDownAt(x, 0.3f)->surface.normal, normalized({x < 0 ? -1.0f : 1.0f, 0, 1}));
}

TEST_F(Displacement, CutsFinerWhatIsNearer) {
    auto& meshInstance = scene.bumpyInstance("leaf", scene.square("square"));
    auto& root = scene.group("root", {&meshInstance});
    const auto flat = [](const auto&) { return 0.0f; };
    const std::size_t coarse = scene.build(root, flat).triangleCount();
    scene.view.pixelsPerUnit *= 4.0f;
    const std::size_t fine = scene.build(root, flat).triangleCount();
    EXPECT_GT(fine, 8u * coarse);
    EXPECT_LT(fine, 32u * coarse);
    scene.view.worldToCamera[12] = -60.0f; // out of the picture
    EXPECT_LT(8u * scene.build(root, flat).triangleCount(), fine);
    scene.view.orthographic = true; // no farther there, but outside
    const std::size_t outside = scene.build(root, flat).triangleCount();
    scene.view.worldToCamera[12] = 0.0f;
    EXPECT_GT(scene.build(root, flat).triangleCount(), 8u * outside);
}

TEST_F(Displacement, ObeysTheObjectsApproximationAndLimit) {
    auto& square = scene.square("square"); // two triangles
    auto& meshInstance = scene.bumpyInstance("leaf", square);
    auto& root = scene.group("root", {&meshInstance});
    const auto trianglesWith = [&](const scene::Approximation& approximation) {
        square.approximation = approximation;
        return scene.build(root, [](const auto&) { return 3.0f; }).triangleCount();
    };
    EXPECT_EQ(trianglesWith({0.01f, false, 0, 0}), 2u);
    EXPECT_EQ(trianglesWith({0.01f, false, 0, 1}), 8u);
    EXPECT_EQ(trianglesWith({1e6f, true, 3, 24}), 128u);
    EXPECT_EQ(trianglesWith({1.5f, false}), 8u); // edges of 2 and 2.83, halved once
    trianglesWith({0.3f, false});
    const geometry::Mesh& mesh = *scene.built->meshInstances()[0].mesh;
    for (const auto& t : mesh.triangles)
        for (std::size_t k = 0; k < 3; ++k) {
            const miVector& a = mesh.points[t[k]];
            const miVector& b = mesh.points[t[(k + 1) % 3]];
            EXPECT_LE(std::hypot(a.x - b.x, a.y - b.y), 0.3f);
        }

    EXPECT_NEAR(scene.lookDownAt(0.2f, 0.1f)->surface.point.z, 3.0f, 1e-5f);
    square.maxDisplacement = 0.25f;
    trianglesWith({0.3f, false});
    EXPECT_NEAR(scene.lookDownAt(0.2f, 0.1f)->surface.point.z, 0.25f, 1e-5f);
    scene.build(root, [](const auto&) { return -3.0f; });
    EXPECT_NEAR(scene.lookDownAt(0.2f, 0.1f)->surface.point.z, -0.25f, 1e-5f);

    // The instance closest to the object speaks over it; the other place of the object goes by its own word.
    auto& inner = scene.group("inner", {&meshInstance});
    auto& near = scene.instance("near", inner, placedAt(0, 0, 0));
    auto& far = scene.instance("far", inner, placedAt(9, 0, 0));
    near.approximation = {0.01f, false, 0, 1};
    square.approximation = {0.01f, false, 0, 0};
    const auto both = [&] {
        return scene.build(scene.group("root2", {&near, &far}), [](const auto&) { return 3.0f; })
            .triangleCount();
    };
    EXPECT_EQ(both(), 8u + 2u);
    meshInstance.approximation = {0.01f, false, 0, 2};
    EXPECT_EQ(both(), 32u + 32u);
    near.overrides = true;
    EXPECT_EQ(both(), 8u + 32u);
}

TEST_F(Displacement, IsDoneForEachPlaceByItself) {
    auto& square = scene.square("square");
    auto& plain = scene.instance("plain", square, placedAt(0, 0, 0));
    auto& tall = scene.bumpyInstance("tall", square, placedAt(4, 0, 0));
    auto& stretched =
        scene.bumpyInstance("stretched", square, test::placed(scaledBy(1, 1, 3), placedAt(8, 0, 0)));
    auto& mirrored =
        scene.bumpyInstance("mirrored", square, test::placed(scaledBy(-1, 1, 1), placedAt(12, 0, 0)));
    scene.build(scene.group("root", {&plain, &tall, &stretched, &mirrored}),
                [](const auto& vertex) { return 0.5f + 0.25f * vertex.point.x; });
    const struct {
        float x, z;
        miVector up;
    } cases[] = {{0.5f, 0.0f, {0, 0, 1}},
                 {4.5f, 0.625f, {-0.25f, 0, 1}},
                 {8.5f, 1.875f, {-0.75f, 0, 1}}, // object units
                 {12.5f, 0.375f, {0.25f, 0, 1}}};
    for (const auto& c : cases) {
        const auto seen = scene.lookDownAt(c.x, 0.2f);
        ASSERT_TRUE(seen) << c.x;
        EXPECT_NEAR(seen->surface.point.z, c.z, 1e-4f) << c.x;
        miVector up = c.up;
        mi_vector_normalize(&up);
        expectNear(seen->surface.normal, up, 1e-3f);
        expectNear(seen->surface.geometricNormal, up, 1e-3f);
    }
}

/// The displacement at the opening of the shutter is taken along on the whole path of a vertex.
TEST_F(Displacement, FollowsThePathsOfVertices) {
    scene.options.motion = 1;
    auto& square = scene.square("square");
    square.groups[0].vectors.insert(square.groups[0].vectors.end(), {{0, 0, 2}, {3, 0, 0}});
    square.groups[0].motions = {{4, 4, 4, 4}, {5, 5, 5, 5}};
    scene.build(scene.group("root", {&scene.bumpyInstance("leaf", square)}),
                [](const auto&) { return 0.5f; });
    for (const auto& [time, x, z] :
         {std::array{0.0f, 0.0f, 0.5f}, std::array{0.5f, 0.0f, 2.5f}, std::array{1.0f, 3.0f, 2.5f}}) {
        const auto seen = scene.lookDownAt(x + 0.4f, 0.2f, time);
        ASSERT_TRUE(seen) << time;
        expectNear(seen->surface.point, {x + 0.4f, 0.2f, z});
        expectNear(seen->surface.motion, {3, 0, 2});
    }
}

TEST_F(Displacement, IsTheSameForAnyNumberOfThreads) {
    auto& meshInstance = scene.bumpyInstance("leaf", scene.square("square"));
    auto& root = scene.group("root", {&meshInstance});
    scene.view.pixelsPerUnit = 3000.0f; // so many edges that they are sorted in parts
    const auto rough = [](const auto& vertex) {
        return 0.3f * std::sin(17.0f * vertex.point.x) * std::sin(23.0f * vertex.point.y);
    };
    const auto meshWith = [&](int threads) {
        const auto& geometry = scene.build(root, rough, threads);
        return *geometry.meshInstances()[0].mesh;
    };
    const geometry::Mesh one = meshWith(1), many = meshWith(4);
    EXPECT_EQ(one.triangles, many.triangles);
    ASSERT_EQ(one.points.size(), many.points.size());
    const auto bytes = one.points.size() * sizeof(miVector);
    EXPECT_EQ(std::memcmp(one.points.data(), many.points.data(), bytes), 0);
    EXPECT_EQ(std::memcmp(one.normals.data(), many.normals.data(), bytes), 0);
}

// --- shaders

/// A card that shows where it is, under a camera straight above, displaced by the statement given.
TestScene displacedCard(const std::string& displace, const std::string& instanceStatements = "") {
    TestScene scene;
    scene.contents = "material \"bumpy\" \"testShowPoint\" ( ) " + displace + " end material\n" +
                     test::card("card", "bumpy", 0, 0, 0, 1.5f, instanceStatements);
    return scene;
}

TEST(DisplacementShaders, KnowTheSpacesOfTheirVertex) {
    // The card stands at (0.5, 0.25, 1): world = object + that, camera = world - (0, 0, 10).
    const std::string place = "transform 1 0 0 0 0 1 0 0 0 0 1 0 -0.5 -0.25 -1 1";
    const RenderedScene picture(displacedCard(
        "displace \"testDisplace\" ( \"world\" 0.5 0 0, \"object\" 0 0.25 0, \"camera\" 0 0 0.125 )", place));
    for (const int x : {6, 9, 12})
        for (const int y : {5, 11}) {
            const miColor at = picture.pixel("main", x, y);
            ASSERT_NE(at.a, 0.0f);
            EXPECT_NEAR(at.b, 1.0f + 0.5f * at.r + 0.25f * (at.g - 0.25f) - 0.125f * 9.0f, 1e-4f);
        }
}

TEST(DisplacementShaders, AddUpInAListAndAreSwitchedOffByTheOptions) {
    const std::string list = "displace \"velaDisplacement\" ( \"height\" 0.5, \"scale\" 2, \"offset\" 0.25 ) "
                             "\"velaDisplacement\" ( \"height\" 0.125 )";
    TestScene scene = displacedCard(list);
    EXPECT_NEAR(RenderedScene(scene).pixel("main", 8, 8).b, 1.375f, 1e-5f);
    scene.extraOptions = "max displace 0.5";
    EXPECT_NEAR(RenderedScene(scene).pixel("main", 8, 8).b, 0.5f, 1e-5f);
    scene.extraOptions = "displace off";
    EXPECT_EQ(RenderedScene(scene).pixel("main", 8, 8).b, 0.0f);
}

TEST(DisplacementShaders, CutEdgesAsLongAsTheyAreInThePicture) {
    // Twelve pixels wide, so halved twice.
    const RenderedScene picture(
        displacedCard("displace \"velaDisplacement\" ( )", "approximate view length 5"));
    EXPECT_EQ(picture.result().statistics.triangles, 2u * 16u);
}

TEST(DisplacementShaders, ThatAnswerNoScalarAreNamedAndLeftOut) {
    const RenderedScene picture(displacedCard("displace \"testFlat\" ( \"color\" 1 1 1 1 )").text());
    EXPECT_TRUE(picture.logged("\"testFlat\" does not return a scalar"));
    EXPECT_EQ(picture.pixel("main", 8, 8).b, 0.0f);
}

} // namespace
