// SPDX-License-Identifier: Apache-2.0
#include "orcaAreaLight.h"
#include "orcaPhotometry.h"
#include "orcaVector.h"
#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

/// Sums over the light as a point sees it, by small parts.
struct Integrals {
    double angle = 0.0, cosine = 0.0, received = 0.0;

    Integrals(const AreaLightRecord& light, const miVector& axis) {
        const miVector normal = cross(light.edgeU, light.edgeV);
        constexpr int n = 1500;
        for (int i = 0; i < n * n; ++i) {
            const double u = 2.0 * (i / n + 0.5) / n - 1.0, v = 2.0 * (i % n + 0.5) / n - 1.0;
            if (light.shape == AREA_DISC && u * u + v * v > 1.0) continue;
            const miVector to =
                light.center + light.edgeU * static_cast<float>(u) + light.edgeV * static_cast<float>(v);
            const double r = length(to), part = std::abs(dot(to, normal)) * 4.0 / (r * r * r * n * n);
            angle += part;
            cosine += part * dot(axis, to) / r;
            received += part * std::max(0.0, dot(axis, to) / r);
        }
    }
};

TEST(AreaLight, MatchesAverageOverItsDirectionsAlsoBelowTheHorizon) {
    const miVector up{0.0f, 0.0f, 1.0f}, slanted = normalized({0.3f, -0.8f, 0.5f});
    struct Case {
        miVector center, edgeU, edgeV, axis;
    };
    const Case cases[] = {
        {{0.5f, 0.2f, 2.0f}, {1.5f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.3f}, up},
        {{1.0f, 0.0f, 0.3f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 0.9f}, up},       // cut in its lower part
        {{2.0f, 0.5f, -0.1f}, {0.0f, 0.8f, 0.4f}, {0.2f, 0.0f, 1.0f}, slanted}, // cut across
        {{0.9f, 0.0f, 0.1f}, {1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, up},       // close, below the rim
        {{0.0f, 3.0f, 300.0f}, {0.0f, 0.1f, 0.0f}, {0.1f, 0.0f, 0.0f}, slanted},
    };
    for (const AreaShape shape : {AREA_RECTANGLE, AREA_DISC})
        for (const Case& c : cases) {
            const AreaLightRecord light{c.center, c.edgeU, c.edgeV, shape};
            const Integrals expected(light, c.axis);
            const miVector point{0.0f, 0.0f, 0.0f};
            SCOPED_TRACE(testing::Message() << shape << ' ' << &c - cases);
            EXPECT_NEAR(solidAngleOfAreaLight(point, light) / expected.angle, 1.0, 3e-3);
            EXPECT_NEAR(meanCosineToAreaLight(point, c.axis, light), expected.cosine / expected.angle, 3e-3);
            if (expected.received > 0.0) {
                EXPECT_NEAR(receivedCosineOfAreaLight(point, c.axis, light) * expected.angle /
                                expected.received,
                            1.0, 3e-3);
            } else {
                EXPECT_LE(receivedCosineOfAreaLight(point, c.axis, light), 0.0f);
            }
        }
}

TEST(AreaLight, HighlightLooksAtThePointNearestTheMirrorRay) {
    ScriptedRenderer renderer;
    struct Case {
        AreaShape shape;
        miVector mirror, nearest;
    };
    const float half = std::sqrt(0.5f);
    for (const Case& c : {Case{AREA_RECTANGLE, {0.5f, 0.0f, 2.0f}, {0.5f, 0.0f, 2.0f}}, // through the light
                          Case{AREA_RECTANGLE, {9.0f, 9.0f, 2.0f}, {1.0f, 1.0f, 2.0f}},
                          Case{AREA_DISC, {9.0f, 9.0f, 2.0f}, {half, half, 2.0f}}}) {
        const AreaLightRecord light{{0.0f, 0.0f, 2.0f}, {1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, c.shape};
        const miVector mirror = normalized(c.mirror);
        miVector d;
        arealight_max_phong_spec_dir(&d, &renderer.state, &mirror, &light);
        EXPECT_LT(length(d - normalized(c.nearest)), 1e-6f);
    }
}

/// Chromaticities of Planck's radiators, CIE 1931 (Wyszecki and Stiles, "Color Science", 1982).
TEST(BlackBody, HasThePublishedChromaticityAndLuminanceOne) {
    struct Case {
        float kelvin, x, y;
    };
    for (const Case& c :
         {Case{2000.0f, 0.5267f, 0.4133f}, Case{2856.0f, 0.4476f, 0.4074f}, Case{4000.0f, 0.3805f, 0.3767f},
          Case{6500.0f, 0.3135f, 0.3236f}, Case{10000.0f, 0.2807f, 0.2884f}}) {
        const miColor rgb = blackBodyColor(c.kelvin);
        const double X = 0.4124564 * rgb.r + 0.3575761 * rgb.g + 0.1804375 * rgb.b;
        const double Y = 0.2126729 * rgb.r + 0.7151522 * rgb.g + 0.0721750 * rgb.b;
        const double Z = 0.0193339 * rgb.r + 0.1191920 * rgb.g + 0.9503041 * rgb.b;
        EXPECT_NEAR(X / (X + Y + Z), c.x, 1.5e-3) << c.kelvin;
        EXPECT_NEAR(Y / (X + Y + Z), c.y, 1.5e-3) << c.kelvin;
        EXPECT_NEAR(Y, 1.0, 1e-3);
    }
}

} // namespace
