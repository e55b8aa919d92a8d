// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <cmath>

namespace orca::test {
namespace {

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
    // World to camera: moved back, then turned back by the rows of this matrix.
    scene.camera = fmt::format("transform {} 0 {} 0  0 1 0 0  {} 0 {} 0  {} 0 {} 1", c, s, -s, c,
                               -eye.x * c + eye.z * s, -eye.x * s - eye.z * c);
    scene.contents = lambert("m", "\"incandescence\" 1 1 1 1") +
                     sphere("ball", "m", 128,
                            fmt::format("transform {} 0 0 0 0 {} 0 0 0 0 {} 0 0 0 0 1", 1 / stretch.x,
                                        1 / stretch.y, 1 / stretch.z));
    scene.utilityPasses = {{"depth", "z", "orcaPassCameraDepth"},
                           {"incidence", "s_fp", "orcaPassIncidenceCameraNormal"},
                           {"world", "n", "orcaPassNormal"},
                           {"camera", "n", "orcaPassNormal(\"space\" 1)"},
                           {"object", "n", "orcaPassNormal(\"space\" 2)"},
                           {"planar", "z", "orcaPassPlanarDepth"},
                           {"position", "m", "orcaPassPosition"},
                           {"inCamera", "m", "orcaPassPosition(\"space\" 1)"}};
    const RenderedScene picture(scene);
    int seen = 0;
    picture.eachPixel([&](int px, int py) {
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
            EXPECT_EQ(picture.pixel("depth", px, py).r, 0.0f);
        }
        if (root < 0.02 * a) return; // beside it, or too close to the silhouette of the polygons
        ++seen;
        const double t = (-b - std::sqrt(root)) / a;
        miVector normal, object;
        for (int i = 0; i < 3; ++i) {
            (&object.x)[i] = static_cast<float>((from[i] + t * way[i]) / axes[i]);
            (&normal.x)[i] = static_cast<float>((from[i] + t * way[i]) / (axes[i] * axes[i]));
        }
        mi_vector_normalize(&normal);
        const auto expectNormal = [&](const char* pass, const miVector& expected) {
            const miColor found = picture.pixel(pass, px, py);
            miVector n{found.r, found.g, found.b};
            mi_vector_normalize(&n); // out of a stretched space it is not unit
            expectColor({n.x, n.y, n.z, 0}, {expected.x, expected.y, expected.z, 0}, 3e-3f, pass);
        };
        expectNormal("world", normal);
        expectNormal("camera", {normal.x * c - normal.z * s, normal.y, normal.x * s + normal.z * c});
        expectNormal("object", object);
        const double length = std::sqrt(way[0] * way[0] + way[1] * way[1] + way[2] * way[2]);
        EXPECT_NEAR(picture.pixel("depth", px, py).r, t * length, 2e-3f);
        EXPECT_NEAR(picture.pixel("planar", px, py).r, t, 2e-3f); // the axis is one unit of the way
        const miColor position = picture.pixel("position", px, py);
        const miColor inCamera = picture.pixel("inCamera", px, py);
        const double expected[] = {u * t, v * t, -t};
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR((&position.r)[i], from[i] + t * way[i], 3e-3);
            EXPECT_NEAR((&inCamera.r)[i], expected[i], 3e-3);
        }
        const double cosine = -(way[0] * normal.x + way[1] * normal.y + way[2] * normal.z) / length;
        EXPECT_NEAR(picture.pixel("incidence", px, py).r, 1.0 - cosine, 3e-3f);
    });
    EXPECT_GT(seen, 20);
}

INSTANTIATE_TEST_SUITE_P(Placements, SphereInAllSpaces,
                         ::testing::Values(SphereCase{{1, 1, 1}, 0.2914568f},
                                           SphereCase{{1.5f, 0.5f, 0.75f}, 0.25f},
                                           SphereCase{{-1.5f, 1, 0.5f}, 0.35f}));

TEST(UtilityPasses, CoverageOfAnEdgeIsTheShareOfThePixel) {
    TestScene scene;
    scene.samples = "4 4";
    scene.extraOptions = "jitter 1";
    scene.contents = lambert("m", "") + card("half", "m", 0.35f, 0, 0, 1); // its left edge is at x = -0.65
    scene.utilityPasses = {{"coverage", "coverage", "orcaPassCoverage"}};
    scene.cameraStatements = "framebuffer \"nearest\" datatype \"z\"\n";
    const RenderedScene picture(scene);
    EXPECT_NEAR(picture.pixel("coverage", 6, 8).r, 1.0f, 1e-4f);
    EXPECT_NEAR(picture.pixel("coverage", 5, 8).r, 0.6f, 0.02f); // the pixel spans -0.75 to -0.5
    EXPECT_EQ(picture.pixel("coverage", 4, 8).r, 0.0f);
    for (int y = 4; y < 12; ++y) // samples beside the card hide nothing
        EXPECT_FLOAT_EQ(picture.pixel("nearest", 5, y).r, 10.0f) << y;
}

TEST(DepthBuffers, TakeASampleOutsideThePixelWhereThereIsNoOther) {
    TestScene scene;
    scene.extraOptions = "jitter 1 filter gauss 3 3";
    scene.cameraStatements = "framebuffer \"nearest\" datatype \"z\"\n";
    scene.contents = glowing("m", "1 1 1") + card("wall", "m", 0, 0, 0, 8);
    const RenderedScene picture(scene);
    picture.eachPixel([&](int x, int y) { EXPECT_FLOAT_EQ(picture.pixel("nearest", x, y).r, 10.0f); });
}

} // namespace
} // namespace orca::test
