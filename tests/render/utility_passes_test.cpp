// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

constexpr float floatNoise = 1e-4f; // positions near 10, single precision

TestScene tiltedCard(const std::string& placement) {
    TestScene scene;
    scene.passes = {"beauty"};
    scene.contents = lambert("m", "\"incandescence\" 1 1 1 1") +
                     "object \"plane\" visible shadow trace group -3 -3 0 3 -3 0 3 3 0 -3 3 0\n"
                     "v 0 v 1 v 2 v 3 p \"m\" 0 1 2 3 end group end object\n"
                     "instance \"plane_inst\" \"plane\" " +
                     placement + " end instance\n";
    scene.members = {"plane_inst"};
    return scene;
}

TEST(UtilityPasses, DepthIncidenceAndNormalsOfATiltedPlane) {
    // The plane is turned 30 degrees about y and flattened to half in x: world = object * S * R.
    const float c = std::cos(0.5235988f);
    const float s = std::sin(0.5235988f);
    // parent to local is the inverse: first the turn back, then the stretch in x
    const std::string placement =
        fmt::format("transform {} 0 {} 0  0 1 0 0  {} 0 {} 0  0 0 0 1", 2 * c, s, -2 * s, c);
    const TestScene scene = tiltedCard(placement);
    const RenderedScene picture(
        withUtilityPasses(scene, {{"depth", "z", "orcaPassCameraDepth"},
                                  {"near", "z",
                                   "orcaPassCameraDepth(\"remap\" 1, \"nearDepth\" 9, "
                                   "\"farDepth\" 11, \"outputMin\" 1, \"outputMax\" 0)"},
                                  {"incidence", "s_fp", "orcaPassIncidenceCameraNormal"},
                                  {"world", "n", "orcaPassNormal"},
                                  {"camera", "n", "orcaPassNormal(\"space\" 1)"},
                                  {"object", "n", "orcaPassNormal(\"space\" 2)"}}));
    for (const int px : {5, 8, 10})
        for (const int py : {3, 12}) {
            const float x = (static_cast<float>(px) + 0.5f) / 4.0f - 2.0f;
            const float y = (static_cast<float>(py) + 0.5f) / 4.0f - 2.0f;
            // Points of the plane satisfy z = -x tan(30) or + by the direction of the turn; its normal
            // decides.
            const miColor world = picture.pixel("world", px, py);
            const float z = -x * world.r / world.b;
            const float distance = std::sqrt(x * x + y * y + (10 - z) * (10 - z));
            EXPECT_NEAR(picture.pixel("depth", px, py).r, distance, floatNoise);
            // outputMin is lowered to outputMax: everything is 0
            EXPECT_EQ(picture.pixel("near", px, py).r, 0.0f);
            EXPECT_NEAR(std::abs(world.r), s, floatNoise);
            EXPECT_NEAR(world.b, c, floatNoise);
            EXPECT_NEAR(picture.pixel("camera", px, py).b, c, floatNoise);
            EXPECT_NEAR(picture.pixel("incidence", px, py).r, 1.0f - c, floatNoise);
            const miColor object = picture.pixel("object", px, py);
            EXPECT_NEAR(object.r, 0.0f, floatNoise); // the plane's own normal, whatever the placement
            EXPECT_NEAR(object.g, 0.0f, floatNoise);
            EXPECT_GT(object.b, 0.0f);
        }
}

/// Stretch of a sphere and the camera that looks at it from (3, 0, 10), turned about y.
struct SphereCase {
    miVector stretch; ///< negative: mirrored
    float turn;       ///< radians
};
class SphereInAllSpaces : public ::testing::TestWithParam<SphereCase> {};

TEST_P(SphereInAllSpaces, HasTheEllipsoidsDepthAndNormals) {
    const auto [stretch, turn] = GetParam();
    const float c = std::cos(turn), s = std::sin(turn);
    const miVector eye{3, 0, 10};
    TestScene scene;
    scene.perspective = true;
    scene.passes = {"beauty"};
    // World to camera: moved back, then turned back by the rows of this matrix.
    scene.camera = fmt::format("transform {} 0 {} 0  0 1 0 0  {} 0 {} 0  {} 0 {} 1", c, s, -s, c,
                               -eye.x * c + eye.z * s, -eye.x * s - eye.z * c);
    scene.contents = lambert("m", "\"incandescence\" 1 1 1 1") +
                     sphere("ball", "m", 128,
                            fmt::format("transform {} 0 0 0 0 {} 0 0 0 0 {} 0 0 0 0 1", 1 / stretch.x,
                                        1 / stretch.y, 1 / stretch.z));
    scene.members = {"ball"};
    const RenderedScene picture(
        withUtilityPasses(scene, {{"depth", "z", "orcaPassCameraDepth"},
                                  {"incidence", "s_fp", "orcaPassIncidenceCameraNormal"},
                                  {"world", "n", "orcaPassNormal"},
                                  {"camera", "n", "orcaPassNormal(\"space\" 1)"},
                                  {"object", "n", "orcaPassNormal(\"space\" 2)"}}));
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    int seen = 0;
    for (int py = 0; py < 16; ++py)
        for (int px = 0; px < 16; ++px) {
            // The eye ray of the pixel's middle, and where it enters the ellipsoid, in double precision.
            const double u = (px + 0.5) / 16 * 0.4 - 0.2, v = (py + 0.5) / 16 * 0.4 - 0.2;
            const double way[3] = {u * c - s, v, -u * s - c};
            const double from[3] = {eye.x, eye.y, eye.z}, axes[3] = {stretch.x, stretch.y, stretch.z};
            double a = 0, b = 0, k = -1;
            for (int i = 0; i < 3; ++i) {
                a += way[i] * way[i] / (axes[i] * axes[i]);
                b += way[i] * from[i] / (axes[i] * axes[i]);
                k += from[i] * from[i] / (axes[i] * axes[i]);
            }
            const double root = b * b - a * k;
            if (root < -0.02 * a) {
                EXPECT_EQ(picture.pixel("depth", px, py).r, 0.0f) << px << ", " << py;
            }
            if (root < 0.02 * a) continue; // beside it, or too close to the silhouette of the polygons
            ++seen;
            const double t = (-b - std::sqrt(root)) / a;
            miVector point, normal, object;
            for (int i = 0; i < 3; ++i) {
                (&point.x)[i] = static_cast<float>(from[i] + t * way[i]);
                (&object.x)[i] = static_cast<float>((from[i] + t * way[i]) / axes[i]);
                (&normal.x)[i] = static_cast<float>((from[i] + t * way[i]) / (axes[i] * axes[i]));
            }
            mi_vector_normalize(&normal);
            const miVector inCamera{normal.x * c - normal.z * s, normal.y, normal.x * s + normal.z * c};
            const auto expectNormal = [&](const char* pass, const miVector& expected) {
                const miColor found = picture.pixel(pass, px, py);
                miVector n{found.r, found.g, found.b};
                mi_vector_normalize(&n); // out of a stretched space it is not unit
                EXPECT_NEAR(n.x, expected.x, 3e-3f) << pass << " " << px << ", " << py;
                EXPECT_NEAR(n.y, expected.y, 3e-3f) << pass << " " << px << ", " << py;
                EXPECT_NEAR(n.z, expected.z, 3e-3f) << pass << " " << px << ", " << py;
            };
            expectNormal("world", normal);
            expectNormal("camera", inCamera);
            expectNormal("object", object);
            const double length = std::sqrt(way[0] * way[0] + way[1] * way[1] + way[2] * way[2]);
            EXPECT_NEAR(picture.pixel("depth", px, py).r, t * length, 2e-3f) << px << ", " << py;
            const double cosine = -(way[0] * normal.x + way[1] * normal.y + way[2] * normal.z) / length;
            EXPECT_NEAR(picture.pixel("incidence", px, py).r, 1.0 - cosine, 3e-3f) << px << ", " << py;
        }
    EXPECT_GT(seen, 20);
}

INSTANTIATE_TEST_SUITE_P(Placements, SphereInAllSpaces,
                         ::testing::Values(SphereCase{{1, 1, 1}, 0.2914568f},
                                           SphereCase{{1.5f, 0.5f, 0.75f}, 0.25f},
                                           SphereCase{{-1.5f, 1, 0.5f}, 0.35f}));

TEST(UtilityPasses, CoverageOfAnEdgeIsTheShareOfThePixel) {
    TestScene scene = tiltedCard("");
    scene.samples = "4 4";
    scene.extraOptions = "jitter 1";
    scene.contents = lambert("m", "") + card("half", "m", 0.35f, 0, 0, 1); // its left edge is at x = -0.65
    scene.members = {"half"};
    const RenderedScene picture(withUtilityPasses(scene, {{"coverage", "coverage", "orcaPassCoverage"}}));
    EXPECT_NEAR(picture.pixel("coverage", 6, 8).r, 1.0f, floatNoise);
    EXPECT_NEAR(picture.pixel("coverage", 5, 8).r, 0.6f, 0.02f); // the pixel spans -0.75 to -0.5
    EXPECT_EQ(picture.pixel("coverage", 4, 8).r, 0.0f);
}

TEST(UtilityPasses, EnvironmentAndLampsCloseTheSumOnEveryPixel) {
    const std::vector<std::string> components{"ambient",    "diffuse",    "specular", "incandescence",
                                              "reflection", "refraction", "indirect"};
    for (const std::string scanline : {"", "scanline rapid\n"}) {
        TestScene scene;
        scene.samples = "2 2"; // edges too
        scene.extraOptions = scanline;
        const std::string blended = "\"shadowed\" on, \"weightByOpacity\" on", plain = "\"shadowed\" on";
        scene.passes = components;
        scene.passFlags = {blended, blended, plain, plain, plain, plain, blended};
        for (const char* layer : {"environment", "lamps"})
            scene.cameraStatements += fmt::format(
                "framebuffer \"{}\" datatype \"rgba_fp\" user on filtering on useopacity on\n", layer);
        scene.cameraStatements += "environment \"velaEnvironmentLatLong\" ( \"horizon\" 0.5 0.25 1 1 )\n";
        const std::string film = "\"color\" 0.3 0.6 0.2 1, \"incandescence\" 0.1 0 0 1, "
                                 "\"transparency\" 0.6 0.5 0.4 1";
        scene.contents =
            pointLight("key", "\"intensity\" 1, \"decayRate\" 0", 1, 2, 9) +
            "light \"lamp\" \"orcaVelaPointLight\" ( \"intensity\" 2, \"decayRate\" 2 ) origin 0 0 0 sphere "
            "0.8 "
            "visible end light\ninstance \"lamp_inst\" \"lamp\" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 2 1 "
            "end "
            "instance\n" +
            surface("mirror", "orcaVelaPhong", "\"reflectivity\" 0.5, \"specularColor\" 0.6 0.6 0.6 1") +
            lambert("m", film) + lambert("glass", film + ", \"refractionsOn\" on, \"refractiveIndex\" 1.1") +
            card("near", "m", -0.7f, 0.1f, 2, 0.63f) + card("far", "m", -0.3f, -0.2f, 1, 0.68f) +
            card("pane", "glass", 1.2f, -1.2f, 1.5f, 0.41f) + card("shiny", "mirror", 1.3f, 1.1f, 0, 0.57f);
        scene.members = {"key_inst", "lamp_inst", "near", "far", "pane", "shiny"};
        scene.contents +=
            "incremental data \"cam:fbdata\" \"orcaFrameBufferData\" ( "
            "\"nonMaterialFrameBuffers\" [ \"environment\", \"lamps\" ] ) end data\n"
            "incremental options \"opt\" state \"velaBaseState\" ( \"additivePasses\" on ) "
            "\"orcaFrameBufferState\" ( )\n"
            "\"orcaPassBackground\" ( \"passIndex\" 0 ) \"orcaPassBackground\" ( \"passIndex\" 1, "
            "\"source\" 1 ) end options\n";
        const RenderedScene picture(scene.text());
        ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x) {
                const miColor environment = picture.pixel("environment", x, y),
                              lamps = picture.pixel("lamps", x, y), seen = picture.pixel("main", x, y);
                miColor sum{environment.r + lamps.r, environment.g + lamps.g, environment.b + lamps.b, 0};
                for (const std::string& name : components) {
                    const miColor layer = picture.pixel(name, x, y);
                    sum = {sum.r + layer.r, sum.g + layer.g, sum.b + layer.b, 0};
                }
                EXPECT_NEAR(sum.r, seen.r, 1e-5f) << scanline << x << ' ' << y;
                EXPECT_NEAR(sum.g, seen.g, 1e-5f) << scanline << x << ' ' << y;
                EXPECT_NEAR(sum.b, seen.b, 1e-5f) << scanline << x << ' ' << y;
            }
        EXPECT_EQ(picture.pixel("environment", 0, 15).b, 1.0f);         // the open sky ...
        EXPECT_NEAR(picture.pixel("environment", 3, 7).b, 0.4f, 1e-5f); // ... behind one film
        EXPECT_NEAR(picture.pixel("lamps", 10, 8).r, 2.0f, 1e-5f);
        EXPECT_NEAR(picture.pixel("lamps", 6, 8).r, 2.0f * 0.36f, 1e-5f); // behind two
    }
}

TEST(UtilityPasses, OcclusionInACornerIsTheViewFactorOfTheWall) {
    // A floor point at distance d from an endless wall of height h sees it cover (1 - d / sqrt(d^2 + h^2))
    // / 2.
    TestScene scene;
    scene.passes = {"beauty"};
    scene.samples = "3 3";
    scene.contents =
        lambert("m", "") + card("floor", "m", 0, 0, 0, 500) +
        "object \"wall\" visible shadow trace group -1 -500 0 -1 500 0 -1 500 2 -1 -500 2\n"
        "v 0 v 1 v 2 v 3 p \"m\" 0 1 2 3 end group end object instance \"wall_inst\" \"wall\" end instance\n";
    scene.members = {"floor", "wall_inst"};
    const RenderedScene picture(
        withUtilityPasses(scene, {{"occlusion", "rgba_fp", "orcaPassAmbientOcclusion"}}));
    for (const int px : {5, 8, 14}) {
        const float d = (static_cast<float>(px) + 0.5f) / 4.0f - 2.0f + 1.0f;
        const float covered = 0.5f * (1.0f - d / std::sqrt(d * d + 4.0f));
        EXPECT_NEAR(picture.pixel("occlusion", px, 8).r, 1.0f - covered, 0.01f) << d; // 64 x 64 rays
        EXPECT_EQ(picture.pixel("occlusion", px, 8).a, 1.0f);
    }
}

TEST(UtilityPasses, MasksKeepObjectsOutAndOtherRaysWriteNothing) {
    TestScene scene;
    scene.passes = {"beauty"};
    scene.contents = passMask("notFirst", "2") + lambert("m", "") +
                     lambert("pane", "\"transparency\" 1 1 1 1, \"refractionsOn\" on") +
                     card("left", "m", -1, 0, 0, 1, "data \"notFirst\"") + card("right", "m", 1, 0, 0, 1) +
                     card("window", "pane", 1, 1, 1, 0.5f);
    scene.members = {"left", "right", "window"};
    const RenderedScene picture(withUtilityPasses(
        scene, {{"first", "z", "orcaPassCameraDepth"}, {"second", "z", "orcaPassCameraDepth"}}));
    EXPECT_EQ(picture.pixel("first", 4, 8).r, 0.0f);
    EXPECT_GT(picture.pixel("second", 4, 8).r, 9.0f);
    EXPECT_GT(picture.pixel("first", 12, 6).r, 9.0f);
    EXPECT_EQ(picture.pixel("first", 12, 12).r, 0.0f); // seen through the window by a refracted ray only
}

} // namespace
} // namespace orca::test
