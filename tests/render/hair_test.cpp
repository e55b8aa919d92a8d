// SPDX-License-Identifier: Apache-2.0
#include "render/geometry_fixture.h"
#include "rendered_scene.h"
#include "scene_parts.h"

#include <cmath>

namespace {

using namespace orca;
using namespace orca::test;

/// De Casteljau's construction of a Bezier curve.
std::vector<double> pointOn(std::vector<std::vector<double>> control, double u) {
    for (std::size_t left = control.size() - 1; left > 0; --left)
        for (std::size_t i = 0; i < left; ++i)
            for (std::size_t k = 0; k < control[i].size(); ++k)
                control[i][k] += u * (control[i + 1][k] - control[i][k]);
    return control.front();
}

struct HairKind {
    int degree;
    bool round;
    bool placed; ///< moved, turned about y and made twice as large
};

class Hair : public ::testing::TestWithParam<HairKind> {
protected:
    // Of each vertex: point, radius, texture coordinates; two segments.
    [[nodiscard]] std::vector<std::vector<double>> vertices() const {
        std::vector<std::vector<double>> all;
        for (int i = 0; i <= 2 * GetParam().degree; ++i) {
            const double t = 0.5 * i / GetParam().degree;
            all.push_back({0.3 * std::sin(2.5 * t), 1.5 * t, 0.2 * t * t, 0.05 - 0.02 * t, t * t, 1 - t});
        }
        return all;
    }
    /// The curve at u of a segment in the world.
    [[nodiscard]] std::vector<double> at(int segment, double u, double time = 0.0) const {
        const auto all = vertices();
        const auto first = all.begin() + segment * GetParam().degree;
        std::vector<double> p = pointOn({first, first + GetParam().degree + 1}, u);
        p[0] += motion * time;
        if (GetParam().placed) p = {2 * p[2] + 1, 2 * p[1], -2 * p[0], 2 * p[3], p[4], p[5]};
        return p;
    }
    static constexpr double motion = 0.4; // along x while the shutter is open
};

TEST_P(Hair, IsMetWhereItsCurveLies) {
    Geometry scene;
    scene.options.motion = 1;
    scene::ObjectElement& object = scene.object("hair", {}, {});
    scene::HairList& list = object.hair.emplace();
    list.degree = GetParam().degree;
    list.round = GetParam().round;
    list.pieces = scene::HairList::mostPieces;
    list.hairLayout.texture = {0};
    list.hairLayout.textureDimension = {1};
    list.hairLayout.stride = 1;
    list.vertexLayout = {
        .stride = 9, .motion = 6, .motionCount = 1, .radius = 3, .texture = {4}, .textureDimension = {2}};
    std::vector<std::int32_t> starts;
    for (const double offset : {-5.0, 0.0}) { // the second one is looked at
        starts.push_back(static_cast<std::int32_t>(list.scalars.size()));
        list.scalars.push_back(static_cast<float>(offset + 7));
        for (const auto& v : vertices()) {
            for (std::size_t k = 0; k < 6; ++k)
                list.scalars.push_back(static_cast<float>(v[k] + (k == 0 ? offset : 0)));
            for (const double m : {motion, 0.0, 0.0}) list.scalars.push_back(static_cast<float>(m));
        }
    }
    ASSERT_EQ(list.setHairs(starts), "");
    const Matrix placement{0, 0, 0.5f, 0, 0, 0.5f, 0, 0, -0.5f, 0, 0, 0, 0, 0, -0.5f, 1};
    auto& instance = scene.instance("placed", object, GetParam().placed ? placement : placedAt(0, 0, 0));
    scene.build(scene.group("root", {&instance}));

    for (int segment = 0; segment < 2; ++segment)
        for (const double u : {0.1, 0.5, 0.8})
            for (const double time : {0.0, 0.75})
                for (const double across : {-0.7, 0.0, 0.5, 1.3}) {
                    SCOPED_TRACE(
                        fmt::format("segment {} at {}, time {}, across {}", segment, u, time, across));
                    const auto p = at(segment, u, time), ahead = at(segment, u + 1e-4, time),
                               behind = at(segment, u - 1e-4, time);
                    const miVector middle{float(p[0]), float(p[1]), float(p[2])};
                    const miVector tangent =
                        normalized({float(ahead[0] - behind[0]), float(ahead[1] - behind[1]),
                                    float(ahead[2] - behind[2])});
                    // Straight at the curve, perpendicular to it.
                    const miVector direction = normalized(cross(tangent, {0.3f, 0.1f, -1}));
                    const miVector sideways = cross(tangent, direction);
                    const auto radius = static_cast<float>(p[3]);
                    const miVector aim = middle + static_cast<float>(across) * radius * sideways;
                    const auto seen = scene.look(aim - 3.0f * direction, direction, static_cast<float>(time));
                    ASSERT_EQ(seen.has_value(), std::abs(across) < 1);
                    if (!seen) continue;
                    const float near = 0.02f * radius,
                                depth =
                                    GetParam().round ? float(std::sqrt(1 - across * across)) * radius : 0.0f;
                    const geometry::SurfacePoint& s = seen->surface;
                    expectNear(s.point, aim - depth * direction, GetParam().round ? 0.1f * radius : near);
                    expectNear(normalized(s.dPdu), tangent, 0.02f);
                    EXPECT_NEAR(s.bary[1], (segment + u) / 2, 0.003);
                    EXPECT_NEAR(s.bary[0], 0.5 + 0.5 * across, 0.02);
                    EXPECT_NEAR(std::sqrt(dot(s.dPdv, s.dPdv)), 2 * radius, 0.02f * radius);
                    const miVector normal =
                        GetParam().round ? normalized(float(across) * radius * sideways - depth * direction)
                                         : -1.0f * direction;
                    expectNear(s.normal, normal, GetParam().round ? 0.12f : 0.02f);
                    ASSERT_EQ(s.textureSpaces, 2);
                    EXPECT_EQ(scene.coordinates[0].x, 7.0f);
                    EXPECT_NEAR(scene.coordinates[1].x, p[4], 0.005);
                    EXPECT_NEAR(scene.coordinates[1].y, p[5], 0.005);
                    const auto start = at(segment, u, 0), end = at(segment, u, 1);
                    expectNear(s.motion,
                               {float(end[0] - start[0]), float(end[1] - start[1]), float(end[2] - start[2])},
                               1e-5f);

                    // A ray that starts on a hair passes through its segment and the next one, not through
                    // others.
                    geometry::Ray starting{aim - 3.0f * direction, direction};
                    starting.time = static_cast<float>(time);
                    starting.skipInstance = seen->hit.meshInstance;
                    const std::uint32_t met = seen->hit.triangle;
                    for (const std::uint32_t from : {met, met ^ 1u, met - 2}) {
                        starting.skipTriangle = from;
                        EXPECT_EQ(scene.built->occluded(starting), from == met - 2);
                        EXPECT_EQ(scene.look(starting).has_value(), from == met - 2);
                    }
                }
}
INSTANTIATE_TEST_SUITE_P(Kinds, Hair,
                         ::testing::Values(HairKind{1, false, false}, HairKind{2, false, true},
                                           HairKind{3, false, false}, HairKind{1, true, true},
                                           HairKind{3, true, false}));

/// An object of hairs.
std::string hairs(const std::string& block) {
    return "object \"hair_mesh\" visible shadow trace " + block +
           " end object\ninstance \"hair\" \"hair_mesh\" material \"white\" end instance\n";
}

TestScene hairScene(const std::string& contents) {
    TestScene scene;
    scene.width = scene.height = 32;
    scene.samples = "2 2";
    scene.passes = {"diffuse"};
    scene.contents =
        white() + pointLight("lamp", "\"color\" 1 1 1 1, \"intensity\" 3", 0.3f, 0.2f, 2) + contents;
    return scene;
}

TEST(HairBlock, FormsAgree) {
    const std::string written =
        "radius 0.05 scalars 9 [ 0.1 -1 0  0.1 0.5 0  0.4 1 0 ] hairs 1 [ 0 ] end hair";
    const RenderedScene reference(hairScene(hairs("hair " + written)).text());
    EXPECT_EQ(reference.complaints(), std::vector<std::string>());
    float sum = 0.0f;
    reference.eachPixel([&](int x, int y) { sum += reference.pixel("diffuse", x, y).r; });
    EXPECT_GT(sum, 5.0f);
    const std::string forms[] = {
        "hair degree 1 hair r vertex p scalars 10 0.05 0.1 -1 0 0.1 0.5 0 0.4 1 0 hairs 2 0 10 end hair",
        "group hair radius 9 vertex r scalars 12 [ 0.1 -1 0 0.05 0.1 0.5 0 0.05 0.4 1 0 0.05 ] hairs 1 0 end "
        "hair end group",
    };
    const auto expectSame = [&](const std::string& contents) {
        const RenderedScene other(hairScene(contents).text());
        EXPECT_EQ(other.complaints(), std::vector<std::string>());
        reference.eachPixel([&](int x, int y) {
            expectColor(other.pixel("diffuse", x, y), reference.pixel("diffuse", x, y), 1e-6f, contents);
        });
    };
    for (const std::string& form : forms) expectSame(hairs(form));
    expectSame("instance \"grown\" geometry \"testHairs\" ( \"material\" \"white\" ) end instance\n");
}

} // namespace
