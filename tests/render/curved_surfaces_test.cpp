// SPDX-License-Identifier: Apache-2.0
#include "base/vectors.h"
#include "geometry/mesh.h"
#include "geometry/scene_geometry.h"
#include "scene/scene_fixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace orca;
using geometry::Mesh;

/// The mesh of an object whose statements are given; errors of reading and tessellating are in `errors`.
struct Object : scene::SceneText {
    explicit Object(const std::string& statements, const std::string& before = "")
        : SceneText(before + "object \"o\" visible trace " + statements + " end object\n") {
        if (const auto* object = find<scene::ObjectElement>("o")) mesh = geometry::buildMesh(*object, log);
    }
    Mesh mesh;
};

std::string vectorsOf(const std::vector<std::array<double, 3>>& points, std::size_t first = 0) {
    std::string text;
    for (const auto& [x, y, z] : points) text += fmt::format("{:.9g} {:.9g} {:.9g}\n", x, y, z);
    for (std::size_t i = 0; i < points.size(); ++i) text += fmt::format("v {} ", first + i);
    return text;
}

/// Length of all edges that do not belong to two triangles; ends are compared bit for bit.
double openLength(const Mesh& mesh) {
    using Place = std::tuple<float, float, float>;
    std::map<std::pair<Place, Place>, int> triangles;
    for (const Mesh::Triangle& t : mesh.triangles)
        for (std::size_t i = 0; i < 3; ++i) {
            const miVector &a = mesh.points[t[i]], &b = mesh.points[t[(i + 1) % 3]];
            const Place from{a.x, a.y, a.z}, to{b.x, b.y, b.z};
            ++triangles[std::minmax(from, to)];
        }
    double length = 0;
    for (const auto& [edge, count] : triangles) {
        const auto& [a, b] = edge;
        if (count != 2)
            length += std::hypot(std::get<0>(b) - std::get<0>(a), std::get<1>(b) - std::get<1>(a),
                                 std::get<2>(b) - std::get<2>(a));
    }
    return length;
}

double areaOf(const Mesh& mesh) {
    double area = 0;
    for (const auto& [a, b, c] : mesh.triangles) {
        const miVector n = cross(mesh.points[b] - mesh.points[a], mesh.points[c] - mesh.points[a]);
        area += 0.5 * std::sqrt(dot(n, n));
    }
    return area;
}

const double root = std::sqrt(0.5);
/// Control points and weights of a circle in nine points, and the bases of what is made of it.
const std::vector<std::array<double, 3>> circle = {{1, 0, 1},     {1, 1, root},  {0, 1, 1},
                                                   {-1, 1, root}, {-1, 0, 1},    {-1, -1, root},
                                                   {0, -1, 1},    {1, -1, root}, {1, 0, 1}};
const char* const circleKnots = "0. 0. 0. .25 .25 .5 .5 .75 .75 1. 1. 1. ";
const char* const bases = "basis \"arc\" rational bspline 2 basis \"line\" bezier 1 ";

/// A profile of (radius, height, weight), turned about the y axis.
std::string revolved(const std::vector<std::array<double, 3>>& profile, const std::string& direction,
                     const std::string& approximation) {
    std::vector<std::array<double, 3>> points;
    std::string weights;
    for (const auto& [radius, height, weight] : profile)
        for (const auto& [x, z, w] : circle) {
            weights += fmt::format("{} w {:.9g} ", points.size(), w * weight);
            points.push_back({radius * x, height, -radius * z});
        }
    return std::string(bases) + "group " + vectorsOf(points) + " surface \"s\" \"arc\" 0 1 " + circleKnots +
           direction + weights + " derivative 1 approximate surface " + approximation + " end group";
}

TEST(FreeformSurface, OfRevolutionIsExact) {
    const std::string half = "\"arc\" 0 1 0. 0. 0. .5 .5 1. 1. 1. ",
                      whole = std::string("\"arc\" 0 1 ") + circleKnots;
    std::vector<std::array<double, 3>> tube;
    for (const auto& [x, y, w] : circle) tube.push_back({3 + x, y, w});
    const auto sphere = [](double x, double y, double z) { return std::sqrt(x * x + y * y + z * z) - 1; };
    const auto cylinder = [](double x, double, double z) { return std::hypot(x, z) - 1; };
    const auto torus = [](double x, double y, double z) { return std::hypot(std::hypot(x, z) - 3, y) - 1; };
    const struct {
        std::vector<std::array<double, 3>> profile;
        std::string direction;
        std::function<double(double, double, double)> distance; // from the surface, outside above 0
        double area, open;
    } cases[] = {{{{0, -1, 1}, {1, -1, root}, {1, 0, 1}, {1, 1, root}, {0, 1, 1}}, half, sphere, 4 * M_PI, 0},
                 {{{1, -1, 1}, {1, 1, 1}}, "\"line\" 0 1 0. 1. ", cylinder, 4 * M_PI, 4 * M_PI},
                 {tube, whole, torus, 12 * M_PI * M_PI, 0}};
    for (const auto& c : cases)
        for (const std::string approximation :
             {"parametric 16 16", "regular parametric 50 30", "angle 4", "distance 0.002 0 9",
              "curvature 0.01 5 1 6", "length 0.15"}) {
            Object object(revolved(c.profile, c.direction, approximation));
            ASSERT_EQ(object.errors(), "");
            ASSERT_GT(object.mesh.triangles.size(), 100u) << approximation;
            for (std::size_t i = 0; i < object.mesh.points.size(); ++i) {
                const miVector &p = object.mesh.points[i], &n = object.mesh.normals[i];
                EXPECT_NEAR(c.distance(p.x, p.y, p.z), 0.0, 2e-6);
                constexpr double step = 1e-4;
                EXPECT_NEAR(c.distance(p.x + step * n.x, p.y + step * n.y, p.z + step * n.z) / step, 1.0,
                            0.02);
                EXPECT_NEAR(dot(object.mesh.derivU[i], n), 0.0f, 1e-4f);
                EXPECT_NEAR(dot(object.mesh.derivV[i], n), 0.0f, 1e-4f);
            }
            EXPECT_NEAR(areaOf(object.mesh), c.area, 0.02 * c.area) << approximation;
            EXPECT_NEAR(openLength(object.mesh), c.open, 0.02 * c.open) << approximation;
        }
}

/// Every basis in u, weighed by its blending functions as textbooks give them.
TEST(FreeformSurface, FollowsItsBasis) {
    using Blend = std::function<std::vector<double>(double)>;
    const struct {
        std::string basis, parameters;
        std::size_t points, step;
        Blend blend; // of a segment
    } cases[] = {{"bezier 3", "0. 1. 2. ", 7, 3,
                  [](double t) {
                      const double s = 1 - t;
                      return std::vector{s * s * s, 3 * s * s * t, 3 * s * t * t, t * t * t};
                  }},
                 {"bspline 3", "-3. -2. -1. 0. 1. 2. 3. 4. 5. ", 5, 1,
                  [](double t) {
                      const double s = 1 - t;
                      return std::vector{s * s * s / 6, (3 * t * t * t - 6 * t * t + 4) / 6,
                                         (3 * s * s * s - 6 * s * s + 4) / 6, t * t * t / 6};
                  }},
                 {"cardinal", "0. 1. 2. ", 5, 1,
                  [](double t) {
                      return std::vector{-t * (1 - t) * (1 - t) / 2, 1 - t * t * (5 - 3 * t) / 2,
                                         t * (1 + t * (4 - 3 * t)) / 2, -t * t * (1 - t) / 2};
                  }},
                 {"taylor 2", "0. 1. 2. ", 6, 3,
                  [](double t) {
                      return std::vector{1.0, t, t * t};
                  }},
                 {"matrix 1 1 1 -1 0 1", "0. 1. 2. ", 3, 1, [](double t) {
                      return std::vector{1 - t, t};
                  }}};
    for (const auto& c : cases) {
        std::vector<std::array<double, 3>> points;
        std::string numbers;
        for (std::size_t row = 0; row < 2; ++row)
            for (std::size_t i = 0; i < c.points; ++i) {
                numbers += std::to_string(points.size()) + " ";
                points.push_back({std::sin(1.0 + static_cast<double>(i)), static_cast<double>(row),
                                  std::cos(2.5 * static_cast<double>(i))});
            }
        Object object("basis \"b\" " + c.basis + " " + bases + "group " + vectorsOf(points) +
                      " surface \"s\" \"b\" 0 2 " + c.parameters + "\"line\" 0 1 0. 1. " + numbers +
                      " approximate surface parametric 8 2 \"s\" end group");
        ASSERT_EQ(object.errors(), "") << c.basis;
        ASSERT_GE(object.mesh.points.size(), 17u * 3u);
        for (std::size_t i = 0; i < object.mesh.points.size(); ++i) {
            const double u = 2 * static_cast<double>(object.mesh.textures[i].x);
            const double v = static_cast<double>(object.mesh.textures[i].y);
            // A joint may belong to either segment where these do not meet.
            double nearest = 1;
            for (const double segment : {std::floor(u), std::ceil(u) - 1}) {
                if (segment < 0 || segment > 1) continue;
                const std::vector<double> weights = c.blend(u - segment);
                double x = 0, z = 0, w = 0;
                for (std::size_t k = 0; k < weights.size(); ++k) {
                    const auto& p = points[static_cast<std::size_t>(segment) * c.step + k];
                    x += weights[k] * p[0];
                    z += weights[k] * p[2];
                    w += weights[k];
                }
                nearest = std::min(nearest, std::hypot(x - static_cast<double>(object.mesh.points[i].x),
                                                       z - static_cast<double>(object.mesh.points[i].z),
                                                       v * w - static_cast<double>(object.mesh.points[i].y)));
            }
            EXPECT_LT(nearest, 2e-6) << c.basis << " at " << u;
        }
    }
}

/// A flat sheet from 0 to 4 with circles of the parameter plane; `loops` names them by their radius.
std::string sheet(const std::string& statements, double shift = 0) {
    std::vector<std::array<double, 3>> points = {
        {shift, 0, 0}, {4 + shift, 0, 0}, {shift, 4, 0}, {4 + shift, 4, 0}};
    std::string curves;
    for (const int radius : {1, 2, 3}) {
        std::string refs;
        for (const auto& [x, y, w] : circle) {
            refs += fmt::format("{} {:.9f} ", points.size(), w);
            points.push_back({0.5 + 0.15 * radius * x, 0.5 + 0.15 * radius * y, 0});
        }
        curves += fmt::format("curve \"{}\" \"arc\" {} {}", radius, circleKnots, refs);
    }
    return std::string(bases) + "group " + vectorsOf(points) + curves +
           " surface \"s\" \"line\" 0 1 0. 1. \"line\" 0 1 0. 1. 0 1 2 3 " + statements + " end group";
}

TEST(FreeformSurface, TrimsConvergeToTheirArea) {
    const double unit = M_PI * 0.6 * 0.6; // a circle of radius "1" on the sheet
    const struct {
        const char* loops;
        double area;
    } cases[] = {{"trim \"2\" 0 1", 4 * unit},
                 {"trim \"2\" 1 0", 4 * unit}, // run backward
                 {"trim \"2\" 0 .5 \"2\" .5 1", 4 * unit},
                 {"hole \"1\" 0 1", 16 - unit},
                 {"trim \"3\" 0 1 hole \"2\" 0 1 trim \"1\" 0 1", 6 * unit},
                 {"trim \"1\" 0 1 hole \"2\" 0 1 trim \"3\" 0 1", 6 * unit}, // in any order
                 {"trim \"2\" 0 1 special \"1\" 0 1", 4 * unit}};
    for (const auto& c : cases) {
        double before = 1;
        for (const int parts : {4, 8, 16}) {
            Object object(sheet(fmt::format(
                "{} approximate surface parametric 2 2 approximate trim parametric {}.", c.loops, parts)));
            ASSERT_EQ(object.errors(), "") << c.loops;
            const double error = std::abs(areaOf(object.mesh) - c.area);
            EXPECT_LT(error, 0.3 * before) << c.loops; // the square of the step, from chords
            before = error;
        }
    }
}

TEST(FreeformSurface, SidesThatMeetHaveNoCracks) {
    // Four bicubic patches around a point, the neighbours' parameters running differently, cut unevenly.
    const auto height = [](int i, int j) { return 0.7 * std::sin(1.3 * i) * std::cos(0.9 * j); };
    std::string patches;
    std::vector<std::array<double, 3>> points;
    for (int j = 0; j < 7; ++j)
        for (int i = 0; i < 7; ++i) points.push_back({double(i), double(j), height(i, j)});
    const char* const parts[] = {"3 5", "7 4", "6 9", "2 8"};
    for (int patch = 0; patch < 4; ++patch) {
        std::string refs;
        for (int j = 0; j < 4; ++j)
            for (int i = 0; i < 4; ++i) {
                const int a = patch % 2 ? 3 - i : i, b = patch / 2 ? 3 - j : j;
                refs += fmt::format("{} ", (b + 3 * (patch / 2)) * 7 + a + 3 * (patch % 2));
            }
        patches += fmt::format("surface \"{0}\" \"cubic\" 0 1 0. 1. \"cubic\" 0 1 0. 1. {1} approximate "
                               "surface parametric {2} \"{0}\" ",
                               patch, refs, parts[patch]);
    }
    Object object("basis \"cubic\" bezier 3 group " + vectorsOf(points) + patches + "end group");
    ASSERT_EQ(object.errors(), "");
    double outline = 0; // as finely as the mesh can have it
    for (const auto& along : {std::array{0, 1}, std::array{1, 0}})
        for (const int fixed : {0, 6})
            for (int piece = 0; piece < 2; ++piece) {
                const auto z = [&](double t) {
                    double sum = 0;
                    const double s = 1 - t, b[] = {s * s * s, 3 * s * s * t, 3 * s * t * t, t * t * t};
                    for (int k = 0; k < 4; ++k)
                        sum +=
                            b[k] * (along[0] ? height(3 * piece + k, fixed) : height(fixed, 3 * piece + k));
                    return sum;
                };
                for (int k = 0; k < 1000; ++k)
                    outline += std::hypot(0.003, z((k + 1) / 1000.0) - z(k / 1000.0));
            }
    const double open = openLength(object.mesh);
    EXPECT_LT(open, outline);
    EXPECT_GT(open, 0.97 * outline);

    // Two sheets, joined along the holes in both.
    const std::string hole = "hole \"1\" 0 1 approximate trim parametric {}. ";
    const std::string two = "surface \"t\" \"line\" 0 1 0. 1. \"line\" 0 1 0. 1. 0 1 2 3 hole \"1\" 1 0 "
                            "approximate trim parametric 3. \"s\" approximate trim parametric 7. \"t\" ";
    for (const bool connected : {false, true}) {
        Object joined(
            sheet("hole \"1\" 0 1 " + two + (connected ? "connect \"s\" \"1\" 0 1 \"t\" \"1\" 0 1" : "")));
        ASSERT_EQ(joined.errors(), "");
        std::map<std::tuple<float, float>, int> onHole;
        for (const miVector& p : joined.mesh.points)
            if (std::abs(std::hypot(p.x - 2, p.y - 2) - 0.6f) < 1e-5f) ++onHole[{p.x, p.y}];
        const bool allShared =
            std::all_of(onHole.begin(), onHole.end(), [](const auto& at) { return at.second == 2; });
        EXPECT_EQ(allShared, connected);
        EXPECT_GE(onHole.size(), 28u);
    }
}

/// A fan of quadrilaterals around vertex 0: `valence` neighbours, then the points between them.
std::string fan(int valence, std::vector<std::array<double, 3>>& points, const std::string& statements) {
    points = {{0.1, 0.2, 0.9}};
    for (const double reach : {1.0, 1.6})
        for (int i = 0; i < valence; ++i) {
            const double angle = 2 * M_PI * (i + (reach > 1 ? 0.5 : 0)) / valence;
            points.push_back(
                {reach * std::cos(angle), reach * std::sin(angle), 0.3 * std::sin(5 * angle + reach)});
        }
    std::string text = "group " + vectorsOf(points) + " subdivision surface \"s\" ";
    for (int i = 0; i < valence; ++i)
        text += fmt::format("polygon 0 {} {} {} ", 1 + i, 1 + valence + i, 1 + (i + 1) % valence);
    return text + statements + " end subdivision surface approximate surface parametric 3 end group";
}

double distanceTo(const Mesh& mesh, const std::array<double, 3>& point) {
    double nearest = 1e9;
    for (const miVector& p : mesh.points)
        nearest = std::min(nearest, std::hypot(p.x - point[0], p.y - point[1], p.z - point[2]));
    return nearest;
}

/// Limits in closed form: Halstead, Kass and DeRose, "Efficient, fair interpolation using Catmull-Clark
/// surfaces", 1993.
TEST(SubdivisionSurface, ReachesTheLimitsOfItsVertices) {
    for (const int n : {3, 4, 5, 7}) {
        std::vector<std::array<double, 3>> p;
        Object object(fan(n, p, ""));
        ASSERT_EQ(object.errors(), "");
        std::array<double, 3> limit{}, boundary{};
        const auto k = static_cast<std::size_t>(n);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            double edges = 0, faces = 0;
            for (std::size_t i = 1; i <= k; ++i) {
                edges += p[i][axis];
                faces += p[i + k][axis];
            }
            limit[axis] = (n * n * p[0][axis] + 4 * edges + faces) / (n * (n + 5));
            boundary[axis] =
                (p[k + k][axis] + 4 * p[1][axis] + p[k + 1][axis]) / 6; // the cubic spline of the border
        }
        EXPECT_LT(distanceTo(object.mesh, limit), 1e-5) << n;
        EXPECT_LT(distanceTo(object.mesh, boundary), 1e-5) << n;
        EXPECT_LT(distanceTo(object.mesh, p[k + 1]), 1e-6) << n; // a corner of the sheet
        EXPECT_GT(distanceTo(Object(fan(n, p, "boundary smooth")).mesh, p[k + 1]), 0.01) << n;
        EXPECT_LT(distanceTo(Object(fan(n, p, "corner 0")).mesh, p[0]), 1e-6) << n;
        // A crease across the fan makes a curve of its own: a cubic spline through the middle.
        const auto across = static_cast<std::size_t>(1 + n / 2);
        const Mesh creased = Object(fan(n, p, fmt::format("crease 1 0 {}", across))).mesh;
        for (std::size_t axis = 0; axis < 3; ++axis)
            limit[axis] = (p[1][axis] + 4 * p[0][axis] + p[across][axis]) / 6;
        EXPECT_LT(distanceTo(creased, limit), 1e-4) << n;
        const Mesh soft = Object(fan(n, p, fmt::format("crease .5 1 0 {}", across))).mesh;
        EXPECT_GT(distanceTo(soft, limit), 1e-3) << n;
    }
}

const char* const cube =
    "-1 -1 -1 1 -1 -1 1 1 -1 -1 1 -1 -1 -1 1 1 -1 1 1 1 1 -1 1 1 0 0 0 1 0 0 0 1 0 1 1 0 0 0 2 ";
const char* const cubeFaces =
    "polygon 4 5 6 7 polygon 1 0 3 2 polygon 5 1 2 6 polygon 0 4 7 3 polygon 7 6 2 3 polygon 0 1 5 4 ";
const char* const plainVertices = "v 0 v 1 v 2 v 3 v 4 v 5 v 6 v 7 ";

TEST(SubdivisionSurface, IsClosedAndFacesOutwardHoweverFineItsPartsAre) {
    for (const std::string approximation : {"parametric 4", "length .1 0 8", "distance 0.001", "angle 5"}) {
        // One end is drawn out, so that edges differ in length; a triangle and a pentagon join in.
        Object object(
            "group " + std::string(cube) + " 9 0 0 " + plainVertices +
            "v 13 ccmesh \"s\" polygon 4 5 6 7 polygon 1 0 3 2 polygon 5 1 8 polygon 1 2 8 polygon 2 6 8 "
            "polygon 6 5 8 polygon 0 4 7 3 polygon 7 6 2 3 polygon 0 1 5 4 crease 2 6 "
            "end ccmesh approximate surface " +
            approximation + " end group");
        ASSERT_EQ(object.errors(), "") << approximation;
        EXPECT_EQ(openLength(object.mesh), 0.0) << approximation;
        double volume = 0;
        for (const auto& [a, b, c] : object.mesh.triangles) {
            const miVector n = cross(object.mesh.points[b] - object.mesh.points[a],
                                     object.mesh.points[c] - object.mesh.points[a]);
            volume += dot(n, object.mesh.points[a]) / 6;
            for (const auto corner : {a, b, c}) EXPECT_GT(dot(n, object.mesh.normals[corner]), 0.0f);
        }
        EXPECT_GT(volume, 8.0) << approximation;
    }
}

/// The limit of a vertex of four neighbours, by the eigenvectors of one step of subdivision.
TEST(SubdivisionSurface, OfTrianglesReachesTheLimitsOfLoop) {
    const auto octahedron = [](const char* faces) {
        return Object(fmt::format("group 1 0 0 -1 0 0 0 1 0 0 -1 0 0 0 1 0 0 -1 v 0 v 1 v 2 v 3 v 4 v 5 "
                                  "subdivision surface \"s\" scheme loop {} end subdivision surface "
                                  "approximate surface parametric 3 end group",
                                  faces));
    };
    Object object =
        octahedron("polygon 0 2 4 polygon 2 1 4 polygon 1 3 4 polygon 3 0 4 polygon 2 0 5 polygon 1 2 5 "
                   "polygon 3 1 5 polygon 0 3 5");
    ASSERT_EQ(object.errors(), "");
    EXPECT_EQ(object.mesh.triangles.size(), 8u * 64);
    EXPECT_EQ(openLength(object.mesh), 0.0);
    for (const double side : {-1.0, 1.0})
        EXPECT_LT(distanceTo(object.mesh, {side * 24 / 55, 0, 0}),
                  1e-6); // the neighbours' mean is the origin
    for (const miVector& p : object.mesh.points)
        EXPECT_LT(std::abs(p.x) + std::abs(p.y) + std::abs(p.z), 1.0f);
    EXPECT_NE(octahedron("polygon 0 2 1 3").errors().find("\"loop\" is for triangles"), std::string::npos);
}

TEST(SubdivisionSurface, CarriesTexturesMotionAndMaterials) {
    const std::string materials =
        "declare shader color \"f\" ( ) end declare material \"red\" \"f\" ( ) end material\n";
    // The first face has a texture of its own; everything moves up by 2, in two segments.
    Object object(
        "group " + std::string(cube) +
            "v 0 m 12 m 12 v 1 m 12 m 12 v 2 m 12 m 12 v 3 m 12 m 12 "
            "v 4 t 8 m 12 m 12 v 5 t 9 m 12 m 12 v 6 t 11 m 12 m 12 v 7 t 10 m 12 m 12 "
            "v 4 t 12 m 12 m 12 v 5 t 12 m 12 m 12 v 6 t 12 m 12 m 12 v 7 t 12 m 12 m 12 "
            "subdivision surface \"s\" polygon \"red\" 4 5 6 7 polygon 1 0 3 2 polygon 9 1 2 10 "
            "polygon 0 8 11 3 polygon 11 10 2 3 polygon 0 1 9 8 derivative 1 end subdivision surface "
            "approximate surface parametric 2 end group",
        materials);
    ASSERT_EQ(object.errors(), "");
    const Mesh& mesh = object.mesh;
    EXPECT_EQ(openLength(mesh), 0.0);
    ASSERT_EQ(mesh.laterPoints.size(), 2u);
    std::size_t red = 0;
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
        const bool isRed = mesh.materials[i] != miNULLTAG;
        red += isRed;
        for (const auto corner : mesh.triangles[i]) {
            EXPECT_NEAR(mesh.laterPoints[1][corner].z, mesh.points[corner].z + 4, 1e-5f);
            if (!isRed) continue;
            EXPECT_EQ(mesh.textures[corner].z, 0.0f);
            // Its corners keep the corners of the texture, along whose axes the surface goes.
            EXPECT_GE(mesh.textures[corner].x, -0.00001f);
            EXPECT_LE(mesh.textures[corner].x, 1.00001f);
            EXPECT_GT(mesh.derivU[corner].x, 0.0f);
            EXPECT_GT(mesh.derivV[corner].y, 0.0f);
        }
    }
    EXPECT_EQ(red, 32u);
    EXPECT_EQ(mesh.triangles.size(), 6 * 32u);
}

/// The camera looks down the z axis from 20; the second instance is close to it.
TEST(CurvedSurfaces, AreFinerWhereTheCameraIsNear) {
    const auto trianglesWith = [](const std::string& approximation, float z) {
        scene::SceneText text(
            "object \"o\" visible trace group " + std::string(cube) + plainVertices +
            "subdivision surface \"s\" " + cubeFaces + "end subdivision surface " + approximation +
            " end group end object\n"
            "camera \"c\" resolution 400 400 aspect 1 aperture 1 focal 1 end camera\n"
            "instance \"ci\" \"c\" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -20 1 end instance\n"
            "instance \"far\" \"o\" end instance\ninstance \"near\" \"o\" transform 1 0 0 0 0 1 0 0 0 0 1 0 "
            "0 0 " +
            std::to_string(-z) + " 1 end instance\ninstgroup \"g\" \"ci\" \"far\" \"near\" end instgroup\n");
        miOptions options{};
        options.face = 'a';
        const auto* camera = text.find<scene::CameraElement>("c");
        const geometry::SceneGeometry built(text.scene.database(), text.log, text.tag("g"), options, 1,
                                            geometry::SceneGeometry::Displacement::None,
                                            {&camera->camera, text.tag("ci"), nullptr});
        return built.triangleCount();
    };
    const std::string view = "approximate surface view length 4";
    EXPECT_GT(trianglesWith(view, 15), 3 * trianglesWith(view, 0));
    EXPECT_GT(trianglesWith("", 15), trianglesWith("", 0));
    EXPECT_EQ(trianglesWith("approximate surface length .2", 15),
              trianglesWith("approximate surface length .2", 0));
}

TEST(FreeformSurface, MovesWithItsControlPointsAndTakesTextureSurfaces) {
    Object object(
        std::string(bases) +
        "group 0 0 0 1 0 0 0 1 0 1 1 0 0 0 3 5 0 0 7 0 0 5 9 0 7 9 0 v 0 v 1 m 4 v 2 v 3 m 4 v 5 v 6 v 7 v 8 "
        "surface \"s\" \"line\" 0 1 0. 1. \"line\" 0 1 0. 1. 0 1 2 3 "
        "texture \"line\" 0 1 0. 1. \"line\" 0 1 0. 1. 4 5 6 7 end group");
    ASSERT_EQ(object.errors(), "");
    ASSERT_EQ(object.mesh.laterPoints.size(), 1u);
    for (std::size_t i = 0; i < object.mesh.points.size(); ++i) {
        const miVector &p = object.mesh.points[i], &t = object.mesh.textures[i];
        EXPECT_NEAR(object.mesh.laterPoints[0][i].z, 3 * p.x, 1e-6f);
        EXPECT_NEAR(t.x, 5 + 2 * p.x, 1e-6f);
        EXPECT_NEAR(t.y, 9 * p.y, 1e-6f);
    }
}

TEST(CurvedSurfaces, ThatCannotBeMadeAreNamed) {
    const struct {
        std::string object, message;
    } cases[] = {{sheet("trim \"1\" 0 .5"), "surface \"s\" is left out: the loop is open"},
                 {sheet("trim \"1\" 0 .5 \"2\" .5 1"), "the loop is open: curve \"2\" begins at"},
                 {sheet("trim \"2\" 0 1 hole \"1\" 0 1 connect \"s\" \"3\" 0 1 \"s\" \"1\" 0 1"),
                  "curve \"3\" from 0 to 1 is no part of a trim, hole or special curve of surface \"s\""}};
    for (const auto& c : cases) {
        Object object(c.object);
        EXPECT_NE(object.errors().find(c.message), std::string::npos) << object.errors();
        EXPECT_EQ(object.errors().rfind("test.mi:", 0), 0u);
    }
}

} // namespace
