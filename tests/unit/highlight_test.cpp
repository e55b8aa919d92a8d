// SPDX-License-Identifier: Apache-2.0
#include "orcaAnisotropic.h"
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
    miState& state = renderer.state;
    const miVector normal{0.0f, 0.0f, 1.0f};

    /// Looks onto the surface from that angle.
    void lookFrom(double degrees) { state.dir = -at(degrees); }
};

TEST_F(Highlights, PhongIsAPowerOfTheCosineWithAConstantTail) {
    const miVector mirror = at(30);
    const auto strength = [&](const miVector& light, float exponent, float nDotL = 1.0f) {
        return compute_phong_specular(&mirror, &light, &state, exponent, nDotL);
    };
    for (const double degrees : {0.0, 5.0, 17.0, 40.0})
        for (const float exponent : {0.5f, 2.0f, 20.0f})
            EXPECT_NEAR(strength(at(30 + degrees) * 3.0f, exponent), // of any length
                        std::pow(std::cos(degrees * pi / 180.0), exponent), 2e-6);
    EXPECT_FLOAT_EQ(strength(mirror * 0.25f, 1e4f), 1.0f);
    EXPECT_EQ(strength(at(-60), 2.0f), 0.0f);
    EXPECT_EQ(strength(at(-61), 2.0f), 0.0f);
    EXPECT_EQ(strength({0.0f, 0.0f, 0.0f}, 2.0f), 0.0f);
    const float atMinus10_5 = static_cast<float>(-10.5 / std::log(std::cos(20.0 * pi / 180.0)));
    EXPECT_EQ(strength(at(50), atMinus10_5), 4.54e-5f);
}

TEST_F(Highlights, PhongEHasARimAndFadesWithItsWhiteness) {
    const miVector mirror = at(0);
    const float size = 0.2f;
    const auto strength = [&](double share, float roughness, float whiteness) {
        // `share` of the way from the rim to the centre.
        const miVector light = at(std::acos(1.0 - size * (1.0 - share)) * 180.0 / pi) * 2.0f;
        return compute_phongE_specular(&mirror, whiteness, roughness, size, 1.0f, &light, &state);
    };
    for (const double u : {0.05, 0.3, 0.5, 0.9, 1.0})
        for (const double k : {0.2, 1.0, 8.0})
            EXPECT_NEAR(strength(u, static_cast<float>(k), 1.0f), k * u / (1.0 - u * u + k * u * u), 2e-5)
                << u << ' ' << k;
    EXPECT_NEAR(strength(0.5, 1.0f, 0.05f), 0.25, 1e-5);
    EXPECT_NEAR(strength(0.0005, 1.0f, 0.05f), 0.0005, 1e-5); // too faint to fade
    EXPECT_EQ(strength(-0.01, 1.0f, 1.0f), 0.0f);
    EXPECT_EQ(strength(1.0, 0.0f, 1.0f), 0.0f); // no division by nothing
}

/// Blinn's own form: D G F / (N.E), with D of an ellipsoid of revolution and G the least of three.
double blinn(double viewAngle, double lightAngle, double e, double r) {
    const double view = viewAngle * pi / 180.0;
    const double light = lightAngle * pi / 180.0;
    const double half = (light - view) / 2.0; // viewer at -view, light at +light
    const double nh = std::cos(half);
    const double vh = std::cos((light + view) / 2.0);
    const double nv = std::cos(view);
    const double nl = std::cos(light);
    const double d = std::pow(e * e / (nh * nh * (e * e - 1.0) + 1.0), 2.0);
    const double g = std::min({1.0, 2.0 * nh * nv / vh, 2.0 * nh * nl / vh});
    const double f = std::pow(1.0 - vh, 3.0);
    return d * g * (f + (1.0 - f) * r) / nv;
}

TEST_F(Highlights, BlinnIsDistributionTimesShadowingTimesReflectance) {
    for (const double view : {0.0, 25.0, 60.0, 85.0})
        for (const double lightAngle : {0.0, 30.0, 62.0, 88.0})
            for (const double e : {0.1, 0.5, 0.95}) {
                lookFrom(-view);
                const miVector light = at(lightAngle);
                const double expected = blinn(view, lightAngle, e, 0.7);
                EXPECT_NEAR(compute_blinn_specular(&light, &normal, &state, light.z, -dot(normal, state.dir),
                                                   static_cast<float>(e), 0.7f, light.z),
                            expected, 2e-4 * expected + 1e-5)
                    << view << ' ' << lightAngle << ' ' << e;
            }
    // Eccentricity 1 stands for a squared eccentricity of 1 + 1e-5: the distribution is flat.
    lookFrom(0);
    const miVector light = at(40);
    EXPECT_NEAR(compute_blinn_specular(&light, &normal, &state, light.z, 1.0f, 1.0f, 1.0f, light.z), 1.0,
                1e-3);
}

TEST_F(Highlights, BlinnPeaksAtOneWhenRoundingCarriesTheCosinePastIt) {
    lookFrom(0);
    for (const float tooLong : {1.0f, 1.0f + 1.2e-7f, 1.0f + 3e-7f})
        for (int i = 1; i < 4000; ++i) {
            const miVector n{0.0f, 0.0f, tooLong};
            const float e = 1e-6f * static_cast<float>(i);
            EXPECT_LE(compute_blinn_specular(&normal, &n, &state, 1.0f, 1.0f, e, 1.0f, 1.0f), 1.001f) << e;
        }
}

TEST_F(Highlights, KeepEyeRaysBareAndWeighOthersByTheCosine) {
    lookFrom(-80);
    const miVector mirror = at(80);
    const miVector light = at(80);
    const auto each = [&](float nDotL, float(&strengths)[3]) {
        strengths[0] = compute_phong_specular(&mirror, &light, &state, 5.0f, nDotL);
        strengths[1] = compute_phongE_specular(&mirror, 1.0f, 1.0f, 0.5f, nDotL, &light, &state);
        strengths[2] = compute_blinn_specular(&light, &normal, &state, light.z, at(80).z, 0.5f, 0.5f, nDotL);
    };
    float bare[3], front[3], behind[3], bareBehind[3];
    state.type = miRAY_EYE;
    each(0.25f, bare);
    each(-0.25f, bareBehind);
    for (const auto type : {miRAY_REFLECT, miRAY_REFRACT}) {
        state.type = type;
        each(0.25f, front);
        each(-0.25f, behind);
        for (int i = 0; i < 3; ++i) {
            EXPECT_GT(bare[i], 0.0f);
            EXPECT_EQ(bareBehind[i], bare[i]);
            EXPECT_FLOAT_EQ(front[i], 0.25f * bare[i]);
            EXPECT_EQ(behind[i], 0.0f);
        }
    }
}

// --- anisotropic

struct Anisotropic : Highlights {
    AnisotropicFacets facets{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}, 0.2f, 0.6f};

    /// Integral of the reflected share over the hemisphere, over pi: how much of the light comes back.
    double albedo(double viewAngle, double azimuth) {
        state.dir = -at(viewAngle, azimuth);
        constexpr int rings = 300, steps = 600;
        double sum = 0.0;
        for (int i = 0; i < rings; ++i)
            for (int j = 0; j < steps; ++j) {
                const double theta = (i + 0.5) * 90.0 / rings;
                const miVector light = at(theta, (j + 0.5) * 360.0 / steps);
                sum += compute_anisotropic_specular(&facets, &light, &state) * std::sin(theta * pi / 180.0);
            }
        return sum * (0.5 * pi / rings) * (2.0 * pi / steps) / pi;
    }
};

TEST_F(Anisotropic, NeverSendsBackMoreThanArrives) {
    for (const float alpha : {0.1f, 0.2f, 0.6f}) {
        facets.alphaAlong = alpha;
        for (const double view : {0.0, 45.0, 75.0, 87.0, 89.5})
            for (const double azimuth : {0.0, 40.0, 90.0}) {
                const double share = albedo(view, azimuth);
                EXPECT_LT(share, 1.005) << alpha << ' ' << view << ' ' << azimuth;
                EXPECT_GT(share, 0.5) << alpha << ' ' << view << ' ' << azimuth;
            }
    }
}

TEST_F(Anisotropic, IsTheModelInDoublePrecision) {
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

TEST_F(Anisotropic, FollowsTheTexturesDirectionsTurned) {
    miVector u{0.0f, 3.0f, 1.0f}, v{-2.0f, 0.0f, 0.0f}, du, dv;
    state.normal = normal;
    EXPECT_FALSE(get_derivs(&state, &du, &dv));
    AnisotropicFacets f = anisotropicFacets(&state, 0.0f, 0.1f, 0.2f); // any tangent will do
    EXPECT_NEAR(dot(f.along, normal), 0.0f, 1e-6f);
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
