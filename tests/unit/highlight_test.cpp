// SPDX-License-Identifier: Apache-2.0
#include "orcaAnisotropicFacets.h"
#include "orcaColorSpace.h"
#include "orcaSpecular.h"
#include "orcaVector.h"
#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

/// Directions in the plane of the normal (0, 0, 1) and the x axis, by their angle to the normal in degrees.
miVector at(double degrees, double azimuth = 0.0) {
    const double a = degrees * pi / 180.0;
    const double b = azimuth * pi / 180.0;
    return {static_cast<float>(std::sin(a) * std::cos(b)), static_cast<float>(std::sin(a) * std::sin(b)),
            static_cast<float>(std::cos(a))};
}

struct Highlights : ::testing::Test {
    ScriptedRenderer renderer;
    miState& state = renderer.state; // looks straight onto the surface
    AnisotropicFacets facets{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}, 0.2f, 0.6f};
};

TEST_F(Highlights, BlinnPeaksAtOneWhenRoundingCarriesTheCosinePastIt) {
    for (const float tooLong : {1.0f, 1.0f + 1.2e-7f, 1.0f + 3e-7f})
        for (int i = 1; i < 4000; ++i) {
            const miVector n{0.0f, 0.0f, tooLong};
            const float e = 1e-6f * static_cast<float>(i);
            EXPECT_LE(compute_blinn_specular(&facets.normal, &n, &state, 1.0f, 1.0f, e, 1.0f, 1.0f), 1.001f)
                << e;
        }
}

TEST_F(Highlights, OfAnisotropicFacetsAreTheModelInDoublePrecision) {
    const auto lambda = [&](const miVector& w) {
        const double x = w.x * 0.2, y = w.y * 0.6;
        const double a = w.z / std::sqrt(x * x + y * y);
        return (std::exp(-a * a) / (a * std::sqrt(pi)) - 1.0 + std::erf(a)) / 2.0;
    };
    for (const double view : {10.0, 50.0, 80.0})
        for (const double azimuth : {15.0, 130.0, 290.0}) {
            const miVector v = at(view, azimuth);
            const miVector l = at(35.0, 200.0);
            state.dir = -v;
            const double hx = double(v.x) + l.x, hy = double(v.y) + l.y, hz = double(v.z) + l.z;
            const double hh = hx * hx + hy * hy + hz * hz;
            const double slope = (hx * hx / 0.04 + hy * hy / 0.36) / (hz * hz);
            const double d = std::exp(-slope) * hh * hh / (0.12 * std::pow(hz, 4.0));
            const double expected = d / (4.0 * v.z * (1.0 + lambda(v) + lambda(l)));
            EXPECT_NEAR(compute_anisotropic_specular(&facets, &l, &state), expected, 1e-4 * expected + 1e-6);
        }
    const miVector below = at(100);
    EXPECT_EQ(compute_anisotropic_specular(&facets, &below, &state), 0.0f);
}

TEST_F(Highlights, OfAnisotropicFacetsFollowTheTexturesDirectionsTurned) {
    miVector u{0.0f, 3.0f, 1.0f}, v{-2.0f, 0.0f, 0.0f}, du, dv;
    EXPECT_FALSE(get_derivs(&state, &du, &dv));
    AnisotropicFacets f = anisotropicFacets(&state, 0.0f, 0.1f, 0.2f); // any tangent will do
    EXPECT_NEAR(f.along.z, 0.0f, 1e-6f);
    state.bump_x_list = &u;
    state.bump_y_list = &v;
    ASSERT_TRUE(get_derivs(&state, &du, &dv));
    f = anisotropicFacets(&state, 0.0f, 0.1f, 0.2f);
    EXPECT_NEAR(f.along.y, 1.0f, 1e-6f); // u, laid into the surface
    EXPECT_NEAR(f.across.x, -1.0f, 1e-6f);
    state.derivs[0] = &v; // derivatives come before a bump basis
    state.derivs[1] = &u;
    f = anisotropicFacets(&state, 30.0f, 0.1f, 0.2f);
    EXPECT_NEAR(f.along.x, -std::sqrt(0.75f), 1e-6f);
    EXPECT_NEAR(f.along.y, -0.5f, 1e-6f);
}

TEST(AnisotropicReflectivity, ObeysFresnelsEquations) {
    for (const double n : {1.0, 1.33, 1.5, 6.0})
        for (const double degrees : {0.0, 30.0, 56.3099, 80.0, 89.0}) {
            const double i = degrees * pi / 180.0;
            const double ci = std::cos(i);
            const double ct = std::sqrt(1.0 - std::pow(std::sin(i) / n, 2.0));
            const double rs = (ci - n * ct) / (ci + n * ct);
            const double rp = (n * ci - ct) / (n * ci + ct);
            EXPECT_NEAR(compute_anisotropic_reflectivity(static_cast<float>(ci), static_cast<float>(n)),
                        (rs * rs + rp * rp) / 2.0, 2e-5)
                << n << ' ' << degrees;
        }
    EXPECT_FLOAT_EQ(compute_anisotropic_reflectivity(0.0f, 1.5f), 1.0f);
    EXPECT_FLOAT_EQ(erffc(0.5f) + erffc(-0.5f), 2.0f);
    EXPECT_NEAR(erffc(1.0f), 0.15729921, 1e-7);
}

TEST(ColorSpace, GoesThereAndBack) {
    struct {
        miColor rgb, hsv;
    } const known[] = {{{1, 0, 0, 1}, {0, 1, 1, 1}},
                       {{0, 0.5f, 0, 1}, {1 / 3.0f, 1, 0.5f, 1}},
                       {{0, 0, 4, 0.5f}, {2 / 3.0f, 1, 4, 0.5f}},
                       {{0.5f, 0.5f, 0.5f, 1}, {0, 0, 0.5f, 1}},
                       {{0, 0, 0, 1}, {0, 0, 0, 1}},
                       {{1, 0.5f, 0.75f, 1}, {11 / 12.0f, 0.5f, 1, 1}}};
    for (const auto& [rgb, hsv] : known) {
        miColor c = rgb;
        rgb_to_hsv(&c, &c);
        EXPECT_NEAR(c.r, hsv.r, 1e-6f);
        EXPECT_NEAR(c.g, hsv.g, 1e-6f);
        EXPECT_EQ(c.b, hsv.b);
        c.r -= 3.0f; // hues go round
        hsv_to_rgb(&c, &c);
        EXPECT_NEAR(c.r, rgb.r, 3e-6f);
        EXPECT_NEAR(c.g, rgb.g, 3e-6f);
        EXPECT_NEAR(c.b, rgb.b, 3e-6f);
        EXPECT_EQ(c.a, rgb.a);
    }
}

} // namespace
