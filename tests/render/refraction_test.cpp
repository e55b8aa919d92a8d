// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::test {
namespace {

constexpr float degree = 3.14159265f / 180.0f;

std::string glass(const std::string& parameters) {
    return lambert("glass",
                   "\"color\" 0 0 0 1, \"transparency\" 1 1 1 1, \"refractionsOn\" on, " + parameters);
}

std::string glowing(const std::string& name, const std::string& color) {
    return lambert(name, "\"color\" 0 0 0 1, \"incandescence\" " + color + " 1");
}

TestScene throughGlass() {
    TestScene scene;
    scene.traceDepth = "4 6 8";
    scene.passes = {"beauty", "refraction"};
    scene.passFlags = {"", "\"shadowed\" on"}; // refraction of the first level alone
    return scene;
}

/// A wall that shows where it is, behind a slab turned about y.
float seenThroughSlab(float thickness, float degrees, float index) {
    TestScene scene = throughGlass();
    scene.contents =
        "link \"orca-test-shaders.so\"\n"
        "declare shader color \"testShowPoint\" ( ) version 1 end declare\n"
        "material \"ruler\" \"testShowPoint\" ( ) end material\n" +
        glass(fmt::format("\"refractiveIndex\" {}", index)) + card("wall", "ruler", 0, 0, -9, 40) +
        box("slab", "glass", 9, 9, thickness / 2) +
        fmt::format("instance \"turned\" \"slab_mesh\" transform {0} 0 {1} 0 0 1 0 0 {2} 0 {0} 0 0 0 0 1 "
                    "end instance\n",
                    std::cos(degrees * degree), -std::sin(degrees * degree), std::sin(degrees * degree));
    scene.members = {"wall", "turned"};
    const RenderedScene picture(scene.text());
    EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    const miColor seen = picture.pixel("main", 8, 8);
    EXPECT_NEAR(seen.g, 0.125f, 1e-4f); // nothing bends up or down
    return std::abs(seen.r - 0.125f);   // the pixel's centre
}

TEST(Refraction, ShiftsRaysThroughASlabAsSnellHasIt) {
    for (const float degrees : {0.0f, 25.0f, 60.0f})
        for (const float index : {1.0f, 1.33f, 1.8f}) {
            const float inside = std::asin(std::sin(degrees * degree) / index);
            const float expected = 1.5f * std::sin(degrees * degree - inside) / std::cos(inside);
            EXPECT_NEAR(seenThroughSlab(1.5f, degrees, index), expected, 2e-4f) << degrees << ' ' << index;
        }
}

TEST(Refraction, AbsorbsByTheLengthOfTheWayInside) {
    for (const float thickness : {0.5f, 2.0f}) {
        TestScene scene = throughGlass();
        scene.contents = glowing("white", "1 1 1") +
                         glass("\"refractiveIndex\" 1.5, \"lightAbsorbance\" 0.4") +
                         card("wall", "white", 0, 0, -9, 40) + box("slab", "glass", 9, 9, thickness / 2);
        scene.members = {"wall", "slab"};
        const RenderedScene picture(scene.text());
        const float seen = picture.pixel("main", 8, 8).r;
        EXPECT_NEAR(seen, std::exp(-0.4f * thickness), 1e-4f) << thickness;
        EXPECT_NEAR(picture.pixel("refraction", 8, 8).r, seen, 1e-6f);
        EXPECT_NEAR(picture.pixel("beauty", 8, 8).r, seen, 1e-6f);
    }
}

/// A prism throws what comes from the front down to a board, if its index is above that of the critical
/// angle of 45 degrees.
miColor seenInPrism(float index) {
    TestScene scene = throughGlass();
    scene.contents =
        glowing("red", "1 0 0") + glowing("blue", "0 0 1") +
        glass(fmt::format("\"refractiveIndex\" {}", index)) +
        "object \"prism_mesh\" visible shadow trace group\n"
        "-3 -1 1  3 -1 1  3 1 1  -3 1 1  -3 -1 -1  3 -1 -1\nv 0 v 1 v 2 v 3 v 4 v 5\n"
        "p \"glass\" 0 1 2 3\np \"glass\" 0 4 5 1\np \"glass\" 3 2 5 4\np \"glass\" 0 3 4\np \"glass\" 1 5 "
        "2\n"
        "end group end object\ninstance \"prism\" \"prism_mesh\" end instance\n" +
        card("wall", "blue", 0, 0, -9, 40) +
        "object \"board_mesh\" visible shadow trace group\n-40 -5 40 40 -5 40 40 -5 -8 -40 -5 -8\nv 0 v 1 v "
        "2 v 3\n"
        "p \"red\" 0 1 2 3\nend group end object\ninstance \"board\" \"board_mesh\" end instance\n";
    scene.members = {"prism", "wall", "board"};
    const RenderedScene picture(scene.text());
    EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    const miColor seen = picture.pixel("main", 8, 9);
    EXPECT_NEAR(picture.pixel("beauty", 8, 9).r, seen.r, 1e-6f);
    EXPECT_NEAR(picture.pixel("beauty", 8, 9).b, seen.b, 1e-6f);
    return seen;
}

TEST(Refraction, IsTotalReflectionBeyondTheCriticalAngle) {
    EXPECT_NEAR(seenInPrism(1.45f).r, 1.0f, 1e-5f); // sine of 45 degrees is above 1 / 1.45
    EXPECT_NEAR(seenInPrism(1.45f).b, 0.0f, 1e-5f);
    EXPECT_NEAR(seenInPrism(1.2f).b, 1.0f, 1e-5f);
    EXPECT_NEAR(seenInPrism(1.2f).r, 0.0f, 1e-5f);
}

/// Glass turned about y before a wall that glows on one side of an edge, upright like the axis: every column
/// of the picture looks past the edge at its own distance.
struct BlurredEdge {
    const char* name;
    float degrees;      ///< of the glass
    float halfAngle;    ///< of the cone, radians
    float thickness;    ///< of a pane; 0: the light stays in the glass
    float index = 1.5f; ///< of refraction
    static constexpr float wallDistance = 12.0f;

    [[nodiscard]] RenderedScene picture(int samples) const {
        TestScene scene = throughGlass();
        scene.width = columns;
        scene.height = rows;
        const float c = std::cos(degrees * degree), s = std::sin(degrees * degree);
        scene.contents =
            glowing("white", "1 1 1") +
            glass(fmt::format("\"refractiveIndex\" {}, \"surfaceThickness\" {}, \"refractionBlur\" {}, "
                              "\"refractionBlurSamples\" {}",
                              index, thickness, halfAngle, samples)) +
            card("wall", "white", edge() + 50, 0, -wallDistance, 50) + card("pane", "glass", 0, 0, 0, 9) +
            fmt::format("instance \"turned\" \"pane_mesh\" transform {0} 0 {1} 0 0 1 0 0 {2} 0 {0} 0 0 0 0 1 "
                        "end instance\n",
                        c, s, -s);
        scene.members = {"wall", "turned"};
        return RenderedScene(scene.text());
    }
    /// The glass's normal leans toward +x; what enters it bends toward -x, a pane lets it go on as it came.
    [[nodiscard]] double axis() const { // from -z toward +x, radians
        const double outside = degrees * degree;
        return thickness > 0 ? 0.0 : std::asin(std::sin(outside) / index) - outside;
    }
    [[nodiscard]] float edge() const { return wallDistance * static_cast<float>(std::tan(axis())); }

    /// Share of the cone's base that lies beyond the plane through the point on the glass and the edge.
    [[nodiscard]] double expected(int column) const {
        const double outside = degrees * degree;
        double x = 4.0 * ((column + 0.5) / columns - 0.5), z = -x * std::tan(outside);
        if (thickness > 0) { // leaves the pane's back where it has come on inside
            const double inside = std::asin(std::sin(outside) / index), length = thickness / std::cos(inside);
            x += length * std::sin(inside - outside);
            z -= length * std::cos(inside - outside);
        }
        const double toEdge = std::atan2(edge() - x, wallDistance + z);
        const double beyond = std::clamp(std::tan(toEdge - axis()) / std::tan(halfAngle), -1.0, 1.0);
        return 0.5 - (beyond * std::sqrt(1 - beyond * beyond) + std::asin(beyond)) / std::numbers::pi;
    }

    static constexpr int columns = 64, rows = 16;
};

/// Mean over a column, and the largest difference of one of its pixels from what is expected.
struct Column {
    double mean = 0, worst = 0;
};
Column columnOf(const RenderedScene& picture, int x, double expected) {
    Column column;
    for (int y = 0; y < BlurredEdge::rows; ++y) {
        const double seen = picture.pixel("main", x, y).r;
        column.mean += seen / BlurredEdge::rows;
        column.worst = std::max(column.worst, std::abs(seen - expected));
    }
    return column;
}

TEST(RefractionBlur, ConvergesToTheConesMeanAndKeepsTheIdentity) {
    const BlurredEdge glassBlock{"glass block", 0, 0.12f, 0};
    const auto worst = [&](int samples) {
        const RenderedScene picture = glassBlock.picture(samples);
        EXPECT_TRUE(picture.complaints().empty()) << picture.complaints().front();
        double error = 0;
        for (int x = 0; x < BlurredEdge::columns; ++x) {
            error = std::max(error, columnOf(picture, x, glassBlock.expected(x)).worst);
            for (const char* layer : {"beauty", "refraction"})
                EXPECT_NEAR(picture.pixel(layer, x, 5).r, picture.pixel("main", x, 5).r, 1e-6f) << layer;
        }
        return error;
    };
    EXPECT_GT(worst(1), 0.4); // one sharp ray
    const double coarse = worst(16), fine = worst(128), finest = worst(1024);
    EXPECT_LT(coarse, 0.2);
    EXPECT_LT(fine, coarse / 2.5);
    EXPECT_LT(finest, fine / 2.5);
}

class RefractionSpread : public ::testing::TestWithParam<BlurredEdge> {};

/// The way light falls off across an edge has the spread of a disc: a quarter of its radius squared.
TEST_P(RefractionSpread, IsThatOfTheConesBaseAboutTheRefractedRay) {
    const BlurredEdge& setUp = GetParam();
    const RenderedScene picture = setUp.picture(256);
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    double before = 0, weight = 0, mean = 0, square = 0;
    for (int x = 0; x < BlurredEdge::columns; ++x) {
        const double expected = setUp.expected(x), seen = columnOf(picture, x, expected).mean;
        EXPECT_NEAR(seen, expected, 0.008) << x;
        const double place = 4.0 * (static_cast<double>(x) / BlurredEdge::columns - 0.5),
                     rise = seen - before;
        weight += rise;
        mean += rise * place;
        square += rise * place * place;
        before = seen;
    }
    EXPECT_NEAR(weight, 1.0, 1e-3); // the whole of the edge is in the picture
    if (setUp.degrees == 0) {
        const double radius = BlurredEdge::wallDistance * std::tan(setUp.halfAngle);
        EXPECT_NEAR(mean, 0.0, 0.02);
        EXPECT_NEAR(std::sqrt(square - mean * mean) / (radius / 2), 1.0, 0.01);
    }
}
INSTANTIATE_TEST_SUITE_P(Glass, RefractionSpread,
                         ::testing::Values(BlurredEdge{"HeadOn", 0, 0.12f, 0},
                                           BlurredEdge{"Narrow", 0, 0.05f, 0},
                                           BlurredEdge{"Slanting", 35, 0.1f, 0},
                                           BlurredEdge{"HardlyBent", 35, 0.1f, 0, 1.1f},
                                           BlurredEdge{"Pane", 50, 0.1f, 0.3f}),
                         [](const auto& glass) { return std::string(glass.param.name); });

} // namespace
} // namespace orca::test
